#include "backup/ZBLarkspanBackup.h"
#include "foundation/NotificationCenter.h"
#include "foundation/Text.h"
#include "frontend/CloudAccess.h"
#include "frontend/Commands.h"
#include "frontend/Format.h"
#include "frontend/Settings.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"

namespace larkspan {
namespace {

platform::MainThread& mainThread() {
    return platform::Platform::current().mainThread;
}

// Counts removals to their end.
class Removals {
  public:
    explicit Removals(size_t expected) : left_(expected) {
        observe("ZBLarkspanRemoveRemoteFile", true);
        observe("ZBLarkspanRemoveRemoteFileFailed", false);
    }
    size_t failed() const { return failed_; }

  private:
    void observe(const char* name, bool isSuccess) {
        tokens_.push_back(
            NotificationCenter::defaultCenter().addObserver(name, [this, isSuccess](const auto&) {
                if (!isSuccess) ++failed_;
                if (--left_ == 0) mainThread().stop();
            }));
    }
    size_t left_;
    size_t failed_ = 0;
    std::vector<NotificationCenter::Token> tokens_;
};

ExitStatus removeRemote(const Arguments& arguments, Context& context) {
    if (!cloudSettings(context) || !hasCloudAccount(context)) return ExitStatus::failed;
    prepareLog();
    // A comma in a path is taken for one between two, deliberately: the list does not tell.
    std::vector<Path> versions;
    for (std::string& path : split(arguments.words()[0], ',')) {
        versions.emplace_back(std::move(path));
    }
    ZBLarkspanBackup engine;
    if (!engine.restClient()) return ExitStatus::failed;
    const Removals removals(versions.size());
    engine.removeSyncedFiles(versions);
    // Switched off in between, it would never end.
    if (!cloudSettings(context)) return ExitStatus::failed;
    mainThread().run();
    if (removals.failed() == 0) return ExitStatus::done;
    context.output.error(
        countText(removals.failed(), "file", "files") + " in the cloud could not be removed.",
        "The log says why.");
    return ExitStatus::failed;
}

}  // namespace

constinit const Command removeRemoteCommand{
    .name = "-removeRemote",
    .words = "LIST",
    .summary = "Remove copies of versions from the cloud.",
    .description =
        "Removes the copies of versions, given by their paths in the store with commas between "
        "them,\nfrom the cloud. A path with a comma in it cannot be given. The helper starts it "
        "for versions\nthat it thins out.",
    .example = "larkspan -removeRemote ~/Store/ID.localized/Versions/Cut.00003.fcp",
    .options = {},
    .fewestWords = 1,
    .mostWords = 1,
    .run = removeRemote,
    .listed = Listed::no};

}  // namespace larkspan
