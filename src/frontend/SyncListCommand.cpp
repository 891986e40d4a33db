#include "frontend/CloudAccess.h"
#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/Json.h"

#include <array>

namespace larkspan {
namespace {

constexpr std::array options{jsonOption};

ExitStatus list(const Arguments& arguments, Context& context) {
    const auto settings = cloudSettings(context);
    if (!settings || !hasCloudAccount(context)) return ExitStatus::failed;
    const auto project = cloudProject(arguments.words()[0], context);
    if (!project) return ExitStatus::failed;
    const auto versions = cloudVersions(*project, *settings, context);
    if (!versions) return ExitStatus::failed;

    using Align = Table::Align;
    Table table({{"VERSION"}, {"SIZE", Align::right}, {"UPLOADED"}});
    Value::Array entries;
    for (const DBMetadata& version : *versions) {
        const std::string name = versionNameOf(version.path);
        table.addRow({name, sizeText(version.totalBytes), dateText(version.lastModifiedDate)});
        entries.emplace_back(Value::Dictionary{{"name", name},
                                               {"size", version.totalBytes},
                                               {"date", version.lastModifiedDate},
                                               {"path", version.path.text}});
    }
    if (arguments.has("json")) {
        context.output.line(json(entries));
    } else if (entries.empty()) {
        context.output.message("There is no version of this project in the cloud.");
    } else {
        for (const std::string& line : table.lines()) context.output.line(line);
    }
    return ExitStatus::done;
}

}  // namespace

constinit const Command syncListCommand{
    .name = "sync list",
    .words = "PROJECT",
    .summary = "List the versions of a project in the cloud.",
    .description =
        "Lists the versions of a project that lie in the cloud. PROJECT is what the command "
        "versions\ntakes, or the whole identifier of a project that is no longer in the store. "
        "JSON fields: name,\nsize (bytes, as uploaded), date, path (in the cloud).",
    .example = "larkspan sync list Cut.fcp",
    .options = options,
    .fewestWords = 1,
    .mostWords = 1,
    .run = list};

}  // namespace larkspan
