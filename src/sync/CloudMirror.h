#pragma once

#include "foundation/Path.h"
#include "foundation/Value.h"
#include "kit/Preferences.h"
#include "sync/DBRestClient.h"
#include "sync/TransferFile.h"
#include "sync/TransferQueue.h"

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace larkspan {

// What a process that was started for one upload has in place of notifications.
struct UploadProcess {
    // Shows how far it has come, "42%"; "" when there is nothing to show any more.
    std::function<void(const std::string& badge)> setBadge = {};
    // Ends the application; `problem` is what went wrong, "" when nothing did.
    std::function<void(const std::string& problem)> terminate = {};
};

// Keeps the versions of the store in the cloud as well. Nothing happens unless the preference
// syncService is 1.
//
// In the front-end it speaks with the service, on the main thread, and posts what becomes of that
// as notifications:
//
//   ZBLarkspanSyncedFiles             filenames, sizes, dates (nothing for a folder without files)
//   ZBLarkspanMetadataError           error
//   ZBLarkspanUploadProgress          filename (local), progress
//   ZBLarkspanSyncComplete            filename (local)
//   ZBLarkspanSyncFailed              filename (""), error
//   ZBLarkspanRemoveRemoteFile        filename (in the cloud)
//   ZBLarkspanRemoveRemoteFileFailed  filename (""), error
//   ZBLarkspanFileDownloaded          filename (local)
//   ZBLarkspanFileDownloadProgress    filename (local), progress
//
// In any other process, the helper, it never does: uploads and removals start the front-end's
// program, from any thread.
class CloudMirror final : private DBRestClientDelegate {
  public:
    CloudMirror();
    CloudMirror(const CloudMirror&) = delete;
    CloudMirror& operator=(const CloudMirror&) = delete;
    ~CloudMirror() override;

    // The client, made on first use with the shared session, which is opened when there is none;
    // null while no account is linked. Main thread.
    DBRestClient* restClient();
    // Lets the client go, with whatever it is doing.
    void removeRestClient();

    void uploadFileToCloud(const Path& version);
    void downloadFile(const RemotePath& file, const Path& toPath);
    // In the helper: writes down that the versions are to be removed. Before they go from the
    // store, so that a killed process forgets none.
    void noteRemovals(const std::vector<Path>& versions);
    // The helper starts a process for it; a list that is too long for one goes to several.
    void removeSyncedFiles(const std::vector<Path>& versions);
    // In the helper: starts what removals are written down and not done yet.
    void resumeRemovals();
    void removeSyncedProjects(const std::vector<Path>& projects);
    void loadSyncedFileListForProjectUUID(const std::string& project);

    // Makes this a process that was started for one upload.
    void setUploadProcess(UploadProcess process) { uploadProcess_ = std::move(process); }
    // In the helper: calls back once every transfer has been started.
    void whenTransfersAreStarted(std::function<void()> call) {
        transfers_.whenAllAreStarted(std::move(call));
    }

  private:
    // The version that is uploaded, as it is or as an archive.
    struct Upload {
        Path version;
        std::unique_ptr<TransferFile> archive;
        Path file = {};
        int tries = 0;  // at names

        std::string name() const;
    };

    // The version's file in the cloud.
    struct Removal {
        Path version;
        std::string name;
    };

    void startUpload();
    Path packed(Upload& upload) const;
    void tryNextName();
    void uploadEnded();
    void showUploadFailure(const Error& error) const;
    void startRemovals(const std::vector<Path>& items);
    void removeVersion(const Path& version);
    void removalEnded(bool isDone);

    void loadedMetadata(DBRestClient&, const DBMetadata& metadata) override;
    void metadataUnchangedAtPath(DBRestClient&, const RemotePath& path) override;
    void loadMetadataFailedWithError(DBRestClient&, const Error& error) override;
    void uploadedFile(DBRestClient&, const RemotePath& destination, const Path& from,
                      const DBMetadata& metadata) override;
    void uploadProgress(DBRestClient&, double progress, const RemotePath& forFile,
                        const Path& from) override;
    void uploadFileFailedWithError(DBRestClient&, const Error& error) override;
    void deletedPath(DBRestClient&, const RemotePath& path) override;
    void deletePathFailedWithError(DBRestClient&, const Error& error) override;
    void loadedFile(DBRestClient&, const Path& destination) override;
    void loadProgress(DBRestClient&, double progress, const Path& forFile) override;
    void loadFileFailedWithError(DBRestClient&, const Error& error) override;

    std::optional<UploadProcess> uploadProcess_;
    std::deque<Upload> uploads_;                   // the first is under way
    std::deque<std::optional<Removal>> removals_;  // asked for, in order; empty for a project
    std::unique_ptr<DBRestClient> client_;
    TransferQueue transfers_;
};

// Where things lie in the cloud.
namespace cloudlayout {

// "/PROJECT", of a version in PROJECT.localized/Versions.
RemotePath projectFolderOfVersion(const Path& version);
// "/PROJECT", of PROJECT.localized.
RemotePath projectFolder(const Path& project);
// "/PROJECT/NAME". A version that was uploaded without being packed is not removed, deliberately.
RemotePath fileOfVersion(const Path& version, const std::string& name);

}  // namespace cloudlayout

// Whether a failure is to be shown: none was within the last half hour.
bool mayShowSyncError(const Value* lastShown, Date now);

// The paths in as few lists "PATH,PATH" as fit, in order. Commas in paths stay as they are.
std::vector<std::string> removalLists(const std::vector<Path>& paths, size_t largestList);

}  // namespace larkspan
