#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/Json.h"
#include "frontend/Settings.h"
#include "frontend/Store.h"
#include "platform/Platform.h"

#include <array>

namespace larkspan {
namespace {

constexpr std::array options{jsonOption};

void reportUnreadable(Context& context, const Store& store) {
    for (const auto& [folder, error] : store.unreadable()) {
        context.output.message(
            "The settings of " + printable(folder.str()) +
            " cannot be read, so its project is not listed: " + printable(error.description));
    }
}

void reportUnreadable(Context& context, const StoredProject& project, const Error& error) {
    context.output.message("The versions of " + printable(project.displayName()) +
                           " cannot be read: " + printable(error.description));
}

ExitStatus projects(const Arguments& arguments, Context& context) {
    const auto root = storeRoot(context);
    if (!root) return ExitStatus::failed;
    Store store(*root);
    platform::Files& files = platform::Platform::current().files;
    using Align = Table::Align;
    Table table({{"PROJECT"}, {"VERSIONS", Align::right}, {"NEWEST"}, {"PATH"}, {"IDENTIFIER"}});
    Value::Array list;
    for (const StoredProject& project : sortedByName(store.projects())) {
        const auto versions = store.versions(project);
        const bool exists = files.exists(project.path);
        const bool hasVersions = versions && !versions->empty();
        table.addRow({project.displayName(), versions ? std::to_string(versions->size()) : "?",
                      hasVersions ? dateText(versions->back().saved) : "",
                      project.path.str() + (exists ? "" : " (missing)"), project.id.text});
        Value::Dictionary fields{{"name", project.displayName()},
                                 {"id", project.id.text},
                                 {"path", project.path.str()},
                                 {"exists", exists}};
        if (versions) fields.emplace("versions", versions->size());
        if (hasVersions) fields.emplace("newest", versions->back().saved);
        list.emplace_back(std::move(fields));
        if (!versions) reportUnreadable(context, project, versions.error());
    }
    if (arguments.has("json")) {
        context.output.line(json(list));
    } else if (list.empty()) {
        context.output.message("There are no projects in " + printable(root->str()) +
                               " yet. Watch a folder with: larkspan watch add FOLDER");
    } else {
        for (const std::string& line : table.lines()) context.output.line(line);
    }
    reportUnreadable(context, store);
    return ExitStatus::done;
}

}  // namespace

constinit const Command projectsCommand{
    .name = "projects",
    .words = "",
    .summary = "List the projects in the version store.",
    .description =
        "Lists every project that the version store knows, with the number of its "
        "versions and\nthe date of the newest. Works without a helper. JSON fields: "
        "name, id, path, exists,\nversions (left out where they cannot be read), newest (left "
        "out while there is none).",
    .example = "larkspan projects --json",
    .options = options,
    .run = projects};

}  // namespace larkspan
