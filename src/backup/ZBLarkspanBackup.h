#pragma once

#include "backup/BackupOptions.h"
#include "backup/BatchRun.h"
#include "backup/ChangeListCache.h"
#include "backup/EngineState.h"
#include "backup/ProjectBackup.h"
#include "backup/ProjectCopy.h"
#include "backup/ProjectList.h"
#include "backup/Retention.h"
#include "backup/VersionName.h"
#include "backup/XMLRendition.h"
#include "foundation/Error.h"
#include "foundation/Path.h"
#include "foundation/Value.h"
#include "sync/CloudMirror.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace larkspan {

// The backup engine, which owns the version store. Every named operation of the engine is declared
// here; each body hands its work to a small class of this or a neighbouring folder. Used from the
// scan queue, one operation at a time, unless an operation says otherwise.
class ZBLarkspanBackup {
  public:
    // Opens the cloud session when synchronisation is switched on.
    ZBLarkspanBackup();
    ZBLarkspanBackup(const ZBLarkspanBackup&) = delete;
    ZBLarkspanBackup& operator=(const ZBLarkspanBackup&) = delete;
    ~ZBLarkspanBackup();

    // Whether the engine serves a user interface, and so shows failures instead of logging them.
    bool hasGUI() const { return changes_.userInterface != nullptr; }
    // Null for none. Not while an operation runs.
    void setUserInterface(std::shared_ptr<ChangeListInterface> interface);

    // ---- known projects and batch runs ----

    // The projects that the store knows, in the order of its listing; those that cannot be read are
    // left out. Any thread.
    std::vector<ProjectEntry> projects();
    // The same with what could not be read, as a run works with it.
    Result<ProjectListing> listProjects(Look look = Look::atEverySetting);
    // Takes a version of every known project whose file was saved since its newest version.
    void processProjects();
    // The same for the projects whose expanded path begins with `path`; all without one.
    void processProjectsInPath(const std::optional<Path>& path);
    // The same for the wanted projects of a listing; all without a filter.
    void processProjects(const ProjectListing& listing, const ProjectFilter& wanted = {});
    // The same for the projects that were set aside because they were being written, as far as
    // their moment has come.
    void processUnrestedProjects(const ProjectListing& listing);
    // How many of these may come to rest. Any thread.
    long projectsBeingWritten() const;
    // The moment (uptime) at which the next of these is to be looked at; empty when there is none.
    // Any thread.
    std::optional<Seconds> nextUnrestedProject() const;

    // ---- one version ----

    // Takes one version of a project into a version folder. Failures are logged.
    BackupOutcome backupProject(const Path& project, const Path& toPath, VersionNumber withNumber,
                                const BackupOptions& options = {});
    // The copy alone; empty on success.
    std::optional<Error> backupProjectFile(const Path& project, const Path& toPath,
                                           VersionNumber withNumber);
    // How many versions directly below `desiredNumber` have no XML rendition.
    static unsigned long backupGapForProject(const Path& project, const Path& destination,
                                             VersionNumber desiredNumber);
    // Lets a rendition open in Final Cut Pro, where the file system can hold that.
    static void setXMLFileAssociation(const Path& rendition);
    static std::string padNumber(VersionNumber number) { return larkspan::padNumber(number); }
    // The front-end's bundle; empty when it is not installed.
    static std::optional<Path> currentBundlePath();

    // Stores a picture of the screen with a version, named after it, if the user wants one.
    static void takeScreenshot(const Path& folder, const std::string& filename,
                               VersionNumber backupNumber);

    // ---- old versions ----

    // Thins the versions of every project by the user's rules.
    void manageBackups();
    // Removes one version with everything that belongs to it.
    void removeBackup(const Path& version, RemovalType removeType,
                      RemoveSynced removeSynced = RemoveSynced::yes);
    // Removes the newest version when it equals the one before. True when it did.
    static bool removeLastDuplicateForProject(const Path& versionFolder);
    // Removes a folder that holds nothing, or nothing but one hidden entry.
    static bool removeEmptyFolder(const Path& folder);

    // ---- what changed ----

    // The change-list cache of a project, brought up to date; empty when there can be none. Not for
    // the main thread, where the delegate is called.
    std::optional<Value::Dictionary> cacheForProject(
        const Path& projectFolder,
        const std::shared_ptr<ChangeListDelegate>& withDelegate = nullptr);
    static void invalidateAllCaches();
    // The user's note on a version.
    static std::optional<Value> annotationForFile(const Path& version);
    // The entry of one version, compared with the one before it.
    std::optional<Value::Dictionary> changelistForFile(const Path& newFile,
                                                       const std::optional<Path>& withOldFile);
    // The entries of all versions of a project, as its cache holds them.
    std::optional<Value::Dictionary> changelistForProject(
        const Path& projectFolder,
        const std::shared_ptr<ChangeListDelegate>& withDelegate = nullptr);
    // Makes the entries of a version and of the one behind it afresh.
    void updateChangelistForItem(const Path& version);
    // Stops such work where there is a user interface. Any thread.
    void setProcessingCancelled(bool cancelled) { changes_.processingCancelled = cancelled; }

    // ---- the mirror in the cloud: nothing happens unless it is switched on ----
    //
    // In the front-end for the main thread, and what becomes of it comes as notifications (see
    // CloudMirror); in the helper for any thread, and a process of the front-end does it.

    // The client of the service, made on first use; null while no account is linked.
    DBRestClient* restClient();
    // Lets the client go, with whatever it is doing; the next use makes a new one.
    void removeRestClient();
    // Hands a new version to the cloud.
    void uploadFileToCloud(const Path& version);
    // Fetches a file from there into a new file.
    void downloadFile(const RemotePath& file, const Path& toPath);
    // Removes the copies of versions, given by their paths in the store.
    void removeSyncedFiles(const std::vector<Path>& versions);
    // Starts the removals of copies that were not done yet.
    void resumeRemovals();
    // Removes all copies of projects, given by their folders in the store.
    void removeSyncedProjects(const std::vector<Path>& projects);
    // Asks which versions of a project lie there.
    void loadSyncedFileListForProjectUUID(const std::string& project);
    // Makes this a process that was started for one upload.
    void setUploadProcess(UploadProcess process);
    // In the helper: calls back, on any thread, once every transfer has been started.
    void whenTransfersAreStarted(std::function<void()> call);
    // Removes what transfers of killed processes left. Any thread.
    static void clearTransferLeftovers();

  private:
    CloudMirror mirror_;
    EngineState state_;
    ProjectList list_;
    ProjectCopy copy_;
    XMLRendition renditions_;
    ProjectBackup backup_;
    BatchRun batch_;
    Retention retention_;
    ChangeListDriver changes_;
    ChangeListCache cache_;
};

}  // namespace larkspan
