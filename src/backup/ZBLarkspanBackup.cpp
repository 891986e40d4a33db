#include "backup/ZBLarkspanBackup.h"

#include "backup/Screenshots.h"
#include "host/ZBAppleEvents.h"
#include "kit/Identifiers.h"
#include "kit/Preferences.h"
#include "kit/Problems.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "platform/Applications.h"
#include "platform/Bundles.h"
#include "platform/Platform.h"
#include "sync/DBSession.h"

namespace larkspan {
namespace {

platform::Platform& current() {
    return platform::Platform::current();
}

std::optional<std::string> xmlFromFinalCut(const Path& project,
                                           const std::optional<std::string>& uuid, bool launch) {
    const LaunchFCP mayLaunch = launch ? LaunchFCP::yes : LaunchFCP::no;
    auto xml = uuid ? ZBAppleEvents::getItemXMLData(*uuid, project, mayLaunch)
                    : ZBAppleEvents::getProjectXMLData(project, mayLaunch);
    if (!xml) return std::nullopt;
    return std::move(xml->bytes);
}

}  // namespace

ZBLarkspanBackup::ZBLarkspanBackup()
    : list_(current().files, current().clock),
      copy_(state_),
      renditions_(xmlFromFinalCut),
      backup_(state_, copy_, renditions_,
              [this](const Path& version) { uploadFileToCloud(version); }),
      batch_(state_, list_,
             {.backupProject =
                  [this](const Path& project, const Path& versions, VersionNumber number,
                         const BackupOptions& options) {
                      return backupProject(project, versions, number, options);
                  },
              .manageBackups =
                  [this](const ProjectListing& listing, const std::vector<std::string>& projects) {
                      retention_.manageBackups(listing, projects);
                  },
              .cacheForProject = [this](const Path& folder) { return cacheForProject(folder); }}),
      retention_(list_,
                 {.noteRemovals = [this](const auto& versions) { mirror_.noteRemovals(versions); },
                  .remove = [this](const auto& versions) { mirror_.removeSyncedFiles(versions); }}),
      changes_({.cacheFolder = storelayout::cacheFolder,
                .cacheFile = storelayout::cacheFile,
                .annotationForFile = ChangeListCache::annotationForFile,
                .currentBundlePath = currentBundlePath}),
      cache_(changes_) {
    DBSession::openSharedSessionIfWanted(Preferences::frontEnd());
}

ZBLarkspanBackup::~ZBLarkspanBackup() = default;

std::vector<ProjectEntry> ZBLarkspanBackup::projects() {
    auto listing = listProjects();
    return listing ? std::move(listing->projects) : std::vector<ProjectEntry>();
}

Result<ProjectListing> ZBLarkspanBackup::listProjects(Look look) {
    const auto root = storelayout::storeRoot(Preferences::frontEnd());
    if (!root) return ProjectListing();
    return list_.list(*root, look);
}

void ZBLarkspanBackup::processProjects() {
    processProjectsInPath(std::nullopt);
}

void ZBLarkspanBackup::processProjectsInPath(const std::optional<Path>& path) {
    if (path) {
        ZBLog::fastAppendLog("Processing projects in %@...", *path);
    } else {
        ZBLog::fastAppendLog("Processing projects...");
    }
    const auto listing = listProjects();
    if (!listing) {
        logProblem("Unable to read the version store: %@", listing.error().description);
        return;
    }
    processProjects(*listing, path ? ProjectFilter([&](const Path& project) {
        return project.hasPrefix(path->str());
    })
                                   : ProjectFilter());
}

void ZBLarkspanBackup::processProjects(const ProjectListing& listing, const ProjectFilter& wanted) {
    batch_.processProjects(listing, wanted);
}

void ZBLarkspanBackup::processUnrestedProjects(const ProjectListing& listing) {
    const Seconds uptime = current().clock.uptime();
    batch_.processProjects(listing, [&](const Path& project) {
        return state_.unrested.with(
            [&](const auto& unrested) { return unrested.isDue(project, uptime); });
    });
    state_.unrested.with([&](auto& unrested) { unrested.forgetOverdue(uptime); });
}

std::optional<Seconds> ZBLarkspanBackup::nextUnrestedProject() const {
    return state_.unrested.with([](const auto& unrested) { return unrested.nextLook(); });
}

long ZBLarkspanBackup::projectsBeingWritten() const {
    return state_.unrested.with([](const auto& unrested) { return unrested.countBeingWritten(); });
}

BackupOutcome ZBLarkspanBackup::backupProject(const Path& project, const Path& toPath,
                                              VersionNumber withNumber,
                                              const BackupOptions& options) {
    return backup_.backupProject(project, toPath, withNumber, options);
}

std::optional<Error> ZBLarkspanBackup::backupProjectFile(const Path& project, const Path& toPath,
                                                         VersionNumber withNumber) {
    const auto version = copy_.backupProjectFile(project, toPath, withNumber);
    if (!version) return version.error();
    uploadFileToCloud(*version);
    return std::nullopt;
}

unsigned long ZBLarkspanBackup::backupGapForProject(const Path& project, const Path& destination,
                                                    VersionNumber desiredNumber) {
    return XMLRendition::gap(project, destination, desiredNumber);
}

void ZBLarkspanBackup::setXMLFileAssociation(const Path& rendition) {
    XMLRendition::setFileAssociation(rendition);
}

std::optional<Path> ZBLarkspanBackup::currentBundlePath() {
    if (const auto bundle = current().bundles.loadedBundle(frontEndBundleIdentifier)) {
        return bundle->path;
    }
    if (auto path = current().applications.bundlePathForIdentifier(frontEndBundleIdentifier)) {
        return path;
    }
    const auto applications = ZBLocalPaths::applicationDirectory(UserDomain::no);
    if (!applications) return std::nullopt;
    for (const char* name : {"Larkspan.app", "Corvane/Larkspan.app"}) {
        Path path = *applications / name;
        if (current().files.exists(path)) return path;
    }
    return std::nullopt;
}

void ZBLarkspanBackup::manageBackups() {
    retention_.manageBackups();
}

void ZBLarkspanBackup::removeBackup(const Path& version, RemovalType removeType,
                                    RemoveSynced removeSynced) {
    retention_.removeBackup(version, removeType, removeSynced);
}

bool ZBLarkspanBackup::removeLastDuplicateForProject(const Path& versionFolder) {
    return Retention::removeLastDuplicateForProject(versionFolder);
}

bool ZBLarkspanBackup::removeEmptyFolder(const Path& folder) {
    return Retention::removeEmptyFolder(folder);
}

void ZBLarkspanBackup::setUserInterface(std::shared_ptr<ChangeListInterface> interface) {
    changes_.userInterface = std::move(interface);
}

std::optional<Value::Dictionary> ZBLarkspanBackup::cacheForProject(
    const Path& projectFolder, const std::shared_ptr<ChangeListDelegate>& withDelegate) {
    return cache_.cacheForProject(projectFolder, withDelegate);
}

void ZBLarkspanBackup::invalidateAllCaches() {
    ChangeListCache::invalidateAllCaches();
}

std::optional<Value> ZBLarkspanBackup::annotationForFile(const Path& version) {
    return ChangeListCache::annotationForFile(version);
}

std::optional<Value::Dictionary> ZBLarkspanBackup::changelistForFile(
    const Path& newFile, const std::optional<Path>& withOldFile) {
    return changes_.changelistForFile(newFile, withOldFile);
}

std::optional<Value::Dictionary> ZBLarkspanBackup::changelistForProject(
    const Path& projectFolder, const std::shared_ptr<ChangeListDelegate>& withDelegate) {
    return changes_.changelistForProject(projectFolder, withDelegate);
}

void ZBLarkspanBackup::updateChangelistForItem(const Path& version) {
    changes_.updateChangelistForItem(version);
}

void ZBLarkspanBackup::takeScreenshot(const Path& folder, const std::string& filename,
                                      VersionNumber backupNumber) {
    (void)larkspan::takeScreenshot(folder, filename, backupNumber);
}

DBRestClient* ZBLarkspanBackup::restClient() {
    return mirror_.restClient();
}

void ZBLarkspanBackup::removeRestClient() {
    mirror_.removeRestClient();
}

void ZBLarkspanBackup::uploadFileToCloud(const Path& version) {
    mirror_.uploadFileToCloud(version);
}

void ZBLarkspanBackup::downloadFile(const RemotePath& file, const Path& toPath) {
    mirror_.downloadFile(file, toPath);
}

void ZBLarkspanBackup::removeSyncedFiles(const std::vector<Path>& versions) {
    mirror_.removeSyncedFiles(versions);
}

void ZBLarkspanBackup::resumeRemovals() {
    mirror_.resumeRemovals();
}

void ZBLarkspanBackup::removeSyncedProjects(const std::vector<Path>& projects) {
    mirror_.removeSyncedProjects(projects);
}

void ZBLarkspanBackup::loadSyncedFileListForProjectUUID(const std::string& project) {
    mirror_.loadSyncedFileListForProjectUUID(project);
}

void ZBLarkspanBackup::setUploadProcess(UploadProcess process) {
    mirror_.setUploadProcess(std::move(process));
}

void ZBLarkspanBackup::whenTransfersAreStarted(std::function<void()> call) {
    mirror_.whenTransfersAreStarted(std::move(call));
}

void ZBLarkspanBackup::clearTransferLeftovers() {
    (void)TransferFile::clearLeftovers();
}

}  // namespace larkspan
