#include "frontend/CloudDownload.h"

#include "foundation/Uuid.h"
#include "frontend/CloudAccess.h"
#include "frontend/Settings.h"
#include "kit/ZBFileManager.h"
#include "platform/Archives.h"
#include "platform/DockTile.h"
#include "platform/Files.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"
#include "sync/CloudErrors.h"
#include "sync/DBRestClient.h"
#include "sync/TransferFile.h"

namespace larkspan {
namespace {

platform::Platform& current() {
    return platform::Platform::current();
}

// One download, shown on the terminal.
class ShownDownload final : private DBRestClientDelegate {
  public:
    ShownDownload(const CloudSettings& settings, Context& context, std::string name)
        : context_(context), name_(std::move(name)), client_(DBSession::sharedSession(), settings) {
        client_.setDelegate(this);
    }

    std::optional<Error> run(const RemotePath& file, const Path& intoPath) {
        client_.loadFile(file, intoPath);
        current().mainThread.run();
        context_.output.progress("");
        current().dockTile.showProgress(std::nullopt);
        return problem_;
    }

    void interrupt() {
        end(Error{urlErrorDomain, urlerror::cancelled, "The download was interrupted."});
    }

  private:
    void end(std::optional<Error> problem) {
        problem_ = std::move(problem);
        current().mainThread.stop();
    }
    void loadedFile(DBRestClient&, const Path&) override { end(std::nullopt); }
    void loadFileFailedWithError(DBRestClient&, const Error& error) override { end(error); }
    void loadProgress(DBRestClient&, double done, const Path&) override {
        context_.output.progress(progressText("Downloading " + name_, done));
        current().dockTile.showProgress(done);
    }

    Context& context_;
    const std::string name_;
    std::optional<Error> problem_;
    DBRestClient client_;
};

Path besidePath(const Path& target) {
    return target.deletingLastPathComponent() /
           (std::string(partialDownloadPrefix) + generateUUID());
}

}  // namespace

Path unpackedVersion(const Path& folder, const std::string& versionName) {
    const auto entries = current().files.contentsOfFolder(folder);
    const bool isFile = entries && entries->size() == 1 && entries->front().name == versionName &&
                        entries->front().kind == platform::EntryKind::file &&
                        !ZBFileManager::isFilePackage(Path(versionName));
    return isFile ? folder / versionName : folder;
}

std::optional<Error> downloadVersion(const RemotePath& file, const Path& target,
                                     const CloudSettings& settings, Context& context) {
    // Before any thread starts.
    ShownDownload* shown = nullptr;
    const auto asked = context.onTermination([&] {
        if (shown) shown->interrupt();
    });
    prepareLog();
    (void)TransferFile::clearLeftovers();
    DBSession::openSharedSession();
    const std::string name = versionNameOf(file);
    const TransferFile received(besidePath(target));
    const TransferFile unpacked(besidePath(target));
    for (const TransferFile* kept : {&received, &unpacked}) {
        if (kept->problem()) return kept->problem();
    }
    {
        ShownDownload download(settings, context, name);
        shown = &download;
        auto error = download.run(file, received.path());
        shown = nullptr;
        if (error) return error;
    }
    if (!isPacked(file)) return current().files.moveItem(received.path(), target);
    if (auto error = current().archives.unpack(received.path(), unpacked.path())) return error;
    return current().files.moveItem(unpackedVersion(unpacked.path(), name), target);
}

}  // namespace larkspan
