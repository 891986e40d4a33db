#include "backup/BatchRun.h"

#include "backup/BackupRules.h"
#include "backup/StoreLayout.h"
#include "kit/Identifiers.h"
#include "kit/Preferences.h"
#include "kit/ZBFileManager.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/Connections.h"
#include "platform/Platform.h"

#include <algorithm>
#include <set>

namespace larkspan {
namespace {

platform::Platform& current() {
    return platform::Platform::current();
}

void postFilesBackedUp() {
    current().connections.postDistributedNotification(filesBackedUpNotification);
}

}  // namespace

struct BatchRun::Run {
    std::optional<Path> path;
    Path root;
    std::unique_ptr<platform::Folder> store;
    AlertThrottle throttle;
    long backedUp = 0;
    std::vector<Path> processed;
    std::set<std::string> processedNames;
};

void BatchRun::processProjectsInPath(const std::optional<Path>& path) {
    if (path) {
        ZBLog::fastAppendLog("Processing projects in %@...", *path);
    } else {
        ZBLog::fastAppendLog("Processing projects...");
    }
    const auto root = storelayout::storeRoot(Preferences::frontEnd());
    const std::vector<ProjectEntry> projects =
        root ? list_.projects(*root) : std::vector<ProjectEntry>();
    auto store = root ? current().files.openFolder(*root).optional().value_or(nullptr) : nullptr;
    if (projects.empty() || !store) {
        ZBLog::appendLog("No projects found");
        return;
    }
    Run run{path,
            *root,
            std::move(store),
            AlertThrottle(state_.lastAlertShown.copy(), current().clock.now()),
            0,
            {},
            {}};
    for (const ProjectEntry& entry : projects) processProject(run, entry);
    run.store.reset();
    actions_.manageBackups();
    refreshCaches(run.processed);
    if (run.backedUp != 0) postFilesBackedUp();
}

void BatchRun::processProject(Run& run, const ProjectEntry& entry) {
    const Path project = ZBLocalPaths::expandingTilde(entry.path);
    if (run.path && !project.hasPrefix(run.path->str())) return;
    const auto file = current().files.info(project);
    const Path folder = storelayout::projectFolder(run.root, entry.projectID);
    const std::string folderName = folder.lastPathComponent();
    if (!file || run.processedNames.contains(folderName)) return;

    const Path versions = folder / storelayout::versionsName;
    const auto newest = list_.newestVersion(*run.store, folderName);
    if (!newest) {
        actions_.backupProject(project, versions, VersionNumber{1}, {.uuid = entry.selectedUUID});
        return;
    }
    ZBLog::appendLog("last version: %@", newest->name);
    if (!isNewer(file->modificationDate, newest->modificationDate)) return;

    ++run.backedUp;
    const bool partOfBatch = run.throttle.isPartOfBatch(run.backedUp);
    actions_.backupProject(project, versions, numberOfVersion(newest->name).next(),
                           {.uuid = entry.selectedUUID, .partOfBatch = partOfBatch});
    run.processed.push_back(folder);
    run.processedNames.insert(folderName);
    if (isNotificationDue(run.backedUp)) postFilesBackedUp();
}

void BatchRun::refreshCaches(const std::vector<Path>& projectFolders) const {
    const auto caches = storelayout::cacheFolder();
    if (!caches) return;
    if (!current().files.exists(*caches) &&
        !ZBFileManager::createDirectory(*caches, std::chrono::seconds(15))) {
        ZBLog::appendLog("Unable to create cache folder %@", *caches);
    }
    const std::string format = current().bundles.mainBundle().infoString("ZBCacheVersion");
    if (format.empty()) return;
    for (const Path& folder : projectFolders) {
        if (!current().files.exists(folder)) continue;
        auto cache = actions_.cacheForProject(folder);
        if (!cache) continue;
        cache->insert_or_assign("version", format);
        // A cache that cannot be written is made again at the next run.
        (void)savePropertyList(Value(std::move(*cache)), storelayout::cacheFile(*caches, folder));
    }
}

}  // namespace larkspan
