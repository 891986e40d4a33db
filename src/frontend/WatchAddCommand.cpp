#include "discovery/FolderScan.h"
#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/Helper.h"
#include "frontend/ProjectSearch.h"
#include "frontend/WatchList.h"

#include <array>
#include <string>

namespace larkspan {
namespace {

constexpr std::array options{
    Option{"extensions", "LIST",
           "File extensions of projects, separated by commas. Default:\n"
           "                     fcp,fcpproject,fcpevent,fcpbundle,fcpxml,fcpxmld,prproj,\n"
           "                     xml,kdenlive,mlt,otio,osp,drp,aep. Of xml files only those\n"
           "                     that hold an edit are projects."}};

// How long the user waits for the number of projects.
constexpr Seconds longestLook = std::chrono::seconds(2);

// What the helper will find there, by the very look that it takes.
std::string projectsIn(const Path& folder, const std::string& extensions) {
    const ScanResult found = scanForProjects({{folder, typeList(extensions)}}, {}, {}, longestLook);
    const size_t count = found.projects.size();
    const std::string projects = countText(count, "project", "projects") + ".";
    if (!found.isComplete && count == 0) return "Its projects are still to be found.";
    if (!found.isComplete) return "It holds at least " + projects;
    return count == 0 ? "It holds no project yet." : "It holds " + projects;
}

ExitStatus watchAdd(const Arguments& arguments, Context& context) {
    std::optional<std::string> extensions = arguments.value("extensions");
    if (extensions) {
        extensions = tidyExtensions(*extensions);
        if (extensions->empty()) {
            context.output.error("The list of extensions is empty.",
                                 "Give at least one, for example: --extensions prproj,fcpbundle");
            return ExitStatus::wrongUsage;
        }
    }
    const Path folder = absolutePath(arguments.words()[0], context.currentDirectory);
    const std::string name = printable(folder.str());
    switch (addWatchFolder(context, folder, extensions)) {
        case Addition::failed:
            return ExitStatus::failed;
        case Addition::unchanged:
            context.output.line(name + " is on the watch list already.");
            break;
        case Addition::changed:
            context.output.line(name + " was on the watch list already; its extensions are now " +
                                printable(*extensions) + ".");
            break;
        case Addition::added:
            context.output.line("Watching " + name + " for " +
                                printable(extensions.value_or(defaultExtensions)) + ".");
            break;
    }
    context.output.line(projectsIn(folder, listedExtensions(context, folder)));
    const bool told = tellHelper(context, {"updateConfiguration", "startBackupScan"});
    return told ? ExitStatus::done : ExitStatus::failed;
}

}  // namespace

constinit const Command watchAddCommand{
    .name = "watch add",
    .words = "FOLDER",
    .summary = "Watch a folder for projects.",
    .description =
        "Puts a folder on the watch list. A running helper looks through it at once: "
        "projects\nfound in it and below get their first version, and every later save "
        "the next one.\nFor a folder that is listed already, the extensions are changed.",
    .example = "larkspan watch add ~/Movies/Edit --extensions prproj,fcpbundle",
    .options = options,
    .fewestWords = 1,
    .mostWords = 1,
    .run = watchAdd};

}  // namespace larkspan
