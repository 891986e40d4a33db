#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/LiveRun.h"
#include "frontend/ProjectSearch.h"
#include "frontend/Settings.h"
#include "frontend/WatchList.h"

namespace larkspan {
namespace {

ExitStatus run(const Arguments& arguments, Context& context) {
    const Path folder = absolutePath(arguments.words()[0], context.currentDirectory);
    if (addWatchFolder(context, folder, std::nullopt) == Addition::failed) {
        return ExitStatus::failed;
    }
    const auto root = storeRoot(context);
    return root ? LiveRun(context, *root).run() : ExitStatus::failed;
}

}  // namespace

constinit const Command runCommand{
    .name = "run",
    .words = "FOLDER",
    .summary = "Watch a folder and show what happens.",
    .description =
        "Puts a folder on the watch list, starts the helper and shows what it finds and "
        "every\nversion that it takes, until Ctrl-C. A helper that runs already is "
        "replaced.",
    .example = "larkspan run ~/Movies/Edit",
    .options = {},
    .fewestWords = 1,
    .mostWords = 1,
    .run = run,
    .listed = Listed::no};

}  // namespace larkspan
