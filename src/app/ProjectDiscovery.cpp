#include "app/ProjectDiscovery.h"

#include "app/FolderScan.h"
#include "app/ZBProject.h"
#include "backup/StoreLayout.h"
#include "foundation/OperationQueue.h"
#include "kit/Identifiers.h"
#include "kit/Preferences.h"
#include "kit/ZBException.h"
#include "kit/ZBGrowl.h"
#include "kit/ZBLog.h"
#include "platform/Connections.h"
#include "platform/Platform.h"
#include "platform/Volumes.h"

namespace larkspan {
namespace {

constexpr int scansAtOnce = 4;

// Paths registered during a run, so that watch folders that lie inside one another do not register
// one project twice.
using Claims = Guarded<std::unordered_set<Path>>;

// The mounted volumes on which drive folders are looked for.
std::vector<Path> drives() {
    platform::Volumes& service = platform::Platform::current().volumes;
    const std::vector<Path> folders = service.volumesFolders();
    std::vector<Path> drives = service.mountedLocalVolumes();
    std::erase_if(drives, [&](const Path& volume) {
        for (const Path& folder : folders) {
            if (volume.hasPrefix(folder.str() + "/")) return false;
        }
        return true;
    });
    return drives;
}

void registerProject(const Path& project, ShowAlerts showAlerts) {
    (void)ZBProject::projectWithPath(project);
    if (showAlerts == ShowAlerts::no) return;
    ZBGrowl::postGrowlNotification("Found new project", projectDisplayName(project), {},
                                   "Backup successful");
}

void scanFolder(const Path& folder, const std::vector<std::string>& types,
                const std::unordered_set<Path>& known, Claims& claims, ShowAlerts showAlerts) {
    const TypeList typeList(types);
    FolderScan scan(
        typeList, known,
        [&](const Path& project) {
            const bool isNew =
                claims.with([&](auto& claimed) { return claimed.insert(project).second; });
            if (isNew) registerProject(project, showAlerts);
        },
        [](const Path&) {
            platform::Platform::current().connections.postDistributedNotification(
                filesBackedUpNotification);
        });
    scan.scan(folder);
}

Value description(const std::vector<WatchFolder>& folders) {
    Value::Array list;
    for (const WatchFolder& entry : folders) {
        list.emplace_back(
            Value::Dictionary{{"folder", entry.folder.str()}, {"extensions", entry.extensions}});
    }
    return list;
}

std::unordered_set<Path> asSet(const std::vector<Path>& paths) {
    return {paths.begin(), paths.end()};
}

}  // namespace

std::vector<Path> ProjectDiscovery::populateProjectsFromWatchFolders(const Known& known,
                                             const std::optional<Path>& path) {
    const Preferences preferences = Preferences::frontEnd();
    const auto driveFolders = watchFolders(preferences, "watchDriveFolders");
    const std::vector<WatchFolder> folders =
        discoveryFolders(watchFolders(preferences, "watchFolders"), driveFolders,
                         driveFolders.empty() ? std::vector<Path>() : drives(), path);
    ZBLog::appendLog("Populating projects from folders: %@", description(folders));

    const ShowAlerts showAlerts = preferences.wantsAlerts() ? ShowAlerts::yes : ShowAlerts::no;
    Claims claims;
    OperationQueue discoveryQueue(scansAtOnce, [](const std::string& reason) {
        ZBException::logException({"Exception", reason}, "-[AppController addNewProjectsInFolder]");
    });
    for (const WatchFolder& entry : folders) {
        discoveryQueue.addOperation([&, entry] {
            scanFolder(entry.folder, typeList(entry.extensions), known, claims, showAlerts);
        });
    }
    discoveryQueue.waitUntilAllOperationsAreFinished();
    return claims.with([](auto& claimed) { return std::vector<Path>(claimed.begin(), claimed.end()); });
}

std::vector<Path> ProjectDiscovery::populateProjectsFromChangedFolders(
    const Known& known, const std::vector<ChangedFolder>& changed) {
    (void)changed;
    return populateProjectsFromWatchFolders(known);
}

void ProjectDiscovery::addNewProjectsInFolder(const Path& folder,
                                              const std::vector<std::string>& types,
                                              const std::vector<Path>& existingProjects,
                                              ShowAlerts showAlerts) {
    Claims claims;
    scanFolder(folder, types, asSet(existingProjects), claims, showAlerts);
}

}  // namespace larkspan
