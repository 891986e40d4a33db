#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/Json.h"
#include "frontend/ProjectArgument.h"
#include "frontend/Settings.h"
#include "frontend/Store.h"

#include <array>

namespace larkspan {
namespace {

constexpr std::array options{jsonOption};

void show(Context& context, const std::vector<StoredVersion>& versions,
          const StoredProject& project, bool asJson) {
    using Align = Table::Align;
    Table table({{"NUMBER", Align::right}, {"SAVED"}, {"SIZE", Align::right}, {"FILE"}});
    Value::Array list;
    for (const StoredVersion& version : versions) {
        const std::uint64_t size = Store::size(version.file);
        table.addRow({std::to_string(version.number.value), dateText(version.saved), sizeText(size),
                      version.file.str()});
        Value::Dictionary fields{{"number", version.number.value},
                                 {"date", version.saved},
                                 {"size", size},
                                 {"file", version.file.str()}};
        if (version.rendition) fields.emplace("rendition", version.rendition->str());
        list.emplace_back(std::move(fields));
    }
    if (asJson) {
        context.output.line(json(list));
    } else if (list.empty()) {
        context.output.message(printable(project.displayName()) +
                               " has no version yet. Take one with: larkspan scan");
    } else {
        for (const std::string& line : table.lines()) context.output.line(line);
    }
}

ExitStatus listVersions(const Arguments& arguments, Context& context) {
    const auto root = storeRoot(context);
    if (!root) return ExitStatus::failed;
    Store store(*root);
    const auto project = projectArgument(arguments.words()[0], store, context);
    if (!project) return ExitStatus::failed;
    const auto versions = store.versions(*project);
    if (!versions) {
        context.output.error("The versions of " + printable(project->displayName()) +
                             " cannot be read: " + printable(versions.error().description));
        return ExitStatus::failed;
    }
    show(context, *versions, *project, arguments.has("json"));
    return ExitStatus::done;
}

}  // namespace

constinit const Command versionsCommand{
    .name = "versions",
    .words = "PROJECT",
    .summary = "List the versions of a project.",
    .description =
        "Lists the versions of one project with their numbers, dates and files; each "
        "file can be\nopened or copied as it is. PROJECT is the project's identifier or "
        "the start of it, its\nname, or the path of its file. Works without a helper. "
        "JSON fields: number, date, size\n(bytes), file, rendition (left out where "
        "there is none).",
    .example = "larkspan versions Cut.fcp",
    .options = options,
    .fewestWords = 1,
    .mostWords = 1,
    .run = listVersions};

}  // namespace larkspan
