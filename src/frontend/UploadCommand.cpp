#include "backup/ZBLarkspanBackup.h"
#include "foundation/Text.h"
#include "frontend/CloudAccess.h"
#include "frontend/Commands.h"
#include "frontend/ProjectSearch.h"
#include "frontend/Settings.h"
#include "platform/DockTile.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"

#include <optional>

namespace larkspan {
namespace {

platform::Platform& current() {
    return platform::Platform::current();
}

void showBadge(Context& context, const Path& version, const std::string& badge) {
    const double done = static_cast<double>(integerValue(badge)) / 100;
    const bool isShown = !badge.empty();
    context.output.progress(isShown ? progressText("Uploading " + version.lastPathComponent(), done)
                                    : "");
    current().dockTile.showProgress(isShown ? std::optional(done) : std::nullopt);
}

ExitStatus upload(const Arguments& arguments, Context& context) {
    if (!cloudSettings(context)) return ExitStatus::failed;
    std::optional<std::string> problem;
    // Before any thread starts. Whoever ends it while it packs waits for that, and leaves nothing.
    const auto asked = context.onTermination([&] {
        problem = "The upload was interrupted.";
        current().mainThread.stop();
    });
    prepareLog();
    ZBLarkspanBackup::clearTransferLeftovers();
    const Path version = absolutePath(arguments.words()[0], context.currentDirectory);
    ZBLarkspanBackup engine;
    engine.setUploadProcess(
        {.setBadge = [&](const std::string& badge) { showBadge(context, version, badge); },
         .terminate =
             [&](const std::string& wrong) {
                 problem = wrong;
                 current().mainThread.stop();
             }});
    engine.uploadFileToCloud(version);
    // Switched off in between, it would never end.
    if (!cloudSettings(context)) return ExitStatus::failed;
    current().mainThread.run();
    engine.removeRestClient();
    if (problem->empty()) return ExitStatus::done;
    context.output.error(*problem);
    return ExitStatus::failed;
}

}  // namespace

constinit const Command uploadCommand{
    .name = "-upload",
    .words = "PATH",
    .summary = "Upload one version.",
    .description =
        "Uploads a version of the store to the cloud and ends when that is done. The helper "
        "starts\nit for every new version.",
    .example = "larkspan -upload ~/Store/ID.localized/Versions/Cut.00003.fcp",
    .options = {},
    .fewestWords = 1,
    .mostWords = 1,
    .run = upload,
    .listed = Listed::no};

}  // namespace larkspan
