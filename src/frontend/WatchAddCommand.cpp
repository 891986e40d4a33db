#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/Helper.h"
#include "frontend/ProjectSearch.h"
#include "frontend/WatchList.h"

#include <array>

namespace larkspan {
namespace {

constexpr std::array options{
    Option{"extensions", "LIST",
           "File extensions of projects, separated by commas. Default:\n"
           "                     fcp,fcpproject,fcpevent,fcpbundle,prproj,xml"}};

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
