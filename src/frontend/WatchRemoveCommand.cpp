#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/Helper.h"
#include "frontend/ProjectSearch.h"
#include "frontend/Settings.h"
#include "frontend/WatchList.h"

namespace larkspan {
namespace {

std::string advice(const std::vector<WatchFolder>& entries, const Path& folder) {
    if (entries.empty()) return "The watch list is empty.";
    const auto near = nearFolders(entries, folder);
    if (near.empty()) return "See what is listed with: larkspan watch list";
    std::vector<std::string> names;
    for (const Path& path : near) names.push_back(shellQuoted(path.str()));
    return "Did you mean " + alternatives(names) + "?";
}

ExitStatus watchRemove(const Arguments& arguments, Context& context) {
    const auto list = readWatchList(context);
    if (!list) return ExitStatus::failed;
    const Path folder = absolutePath(arguments.words()[0], context.currentDirectory);
    const std::string name = printable(folder.str());
    const auto remove = [&](const Value::Array& now) { return withoutFolder(now, folder); };
    if (remove(*list).size() == list->size()) {
        context.output.error(name + " is not on the watch list.",
                             printable(advice(watchEntries(*list), folder)));
        return ExitStatus::failed;
    }
    if (!changeWatchList(context, remove)) return ExitStatus::failed;
    context.output.line(name + " is no longer on the watch list.");
    context.output.message(
        "Projects already found in it stay in the version store and are backed "
        "up as long as they exist.");
    return tellHelper(context, {"updateConfiguration"}) ? ExitStatus::done : ExitStatus::failed;
}

}  // namespace

constinit const Command watchRemoveCommand{
    .name = "watch remove",
    .words = "FOLDER",
    .summary = "Look for projects in a folder no longer.",
    .description =
        "Takes a folder off the watch list. No version is removed, and projects that "
        "were found\nin it are still backed up.",
    .example = "larkspan watch remove ~/Movies/Edit",
    .options = {},
    .fewestWords = 1,
    .mostWords = 1,
    .run = watchRemove};

}  // namespace larkspan
