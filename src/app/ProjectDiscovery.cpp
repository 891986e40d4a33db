#include "app/ProjectDiscovery.h"

#include "app/ChangedFolders.h"
#include "app/ZBProject.h"
#include "backup/StoreLayout.h"
#include "kit/Identifiers.h"
#include "kit/Preferences.h"
#include "kit/ZBGrowl.h"
#include "kit/ZBLog.h"
#include "platform/Connections.h"
#include "platform/Platform.h"
#include "platform/Volumes.h"

#include <set>

namespace larkspan {
namespace {

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

// Programs that show the store are told once for each folder in which something was found.
std::vector<Path> registerProjects(const std::vector<ScannedFolder>& folders,
                                   const KnownProjects& known,
                                   const std::vector<ScannedFolder>& watched,
                                   ShowAlerts showAlerts) {
    std::vector<Path> projects = scanForProjects(folders, known, watched).projects;
    std::set<Path> foldersOfProjects;
    for (const Path& project : projects) {
        registerProject(project, showAlerts);
        foldersOfProjects.insert(project.deletingLastPathComponent());
    }
    for (size_t i = 0; i < foldersOfProjects.size(); ++i) {
        platform::Platform::current().connections.postDistributedNotification(
            filesBackedUpNotification);
    }
    return projects;
}

ShowAlerts showAlerts(const Preferences& preferences) {
    return preferences.wantsAlerts() ? ShowAlerts::yes : ShowAlerts::no;
}

std::vector<WatchFolder> discoveryFolders(const Preferences& preferences,
                                          const std::optional<Path>& path) {
    const auto driveFolders = watchFolders(preferences, "watchDriveFolders");
    return discoveryFolders(watchFolders(preferences, "watchFolders"), driveFolders,
                            driveFolders.empty() ? std::vector<Path>() : drives(), path);
}

Value description(const std::vector<WatchFolder>& folders) {
    Value::Array list;
    for (const WatchFolder& entry : folders) {
        list.emplace_back(
            Value::Dictionary{{"folder", entry.folder.str()}, {"extensions", entry.extensions}});
    }
    return list;
}

Value description(const std::vector<ScannedFolder>& folders) {
    Value::Array list;
    std::set<Path> named;
    for (const ScannedFolder& entry : folders) {
        if (named.insert(entry.folder).second) list.emplace_back(entry.folder.str());
    }
    return firstFew(list);
}

}  // namespace

std::vector<Path> ProjectDiscovery::populateProjectsFromWatchFolders(
    const Known& known, const std::optional<Path>& path) {
    const Preferences preferences = Preferences::frontEnd();
    const std::vector<WatchFolder> watched = discoveryFolders(preferences, std::nullopt);
    const auto folders = path ? discoveryFolders(preferences, path) : watched;
    ZBLog::appendLog("Populating projects from folders: %@", description(folders));
    return registerProjects(wholeFolders(folders), known, wholeFolders(watched),
                            showAlerts(preferences));
}

std::vector<Path> ProjectDiscovery::populateProjectsFromChangedFolders(
    const Known& known, const std::vector<ChangedFolder>& changed) {
    const Preferences preferences = Preferences::frontEnd();
    const auto watched = discoveryFolders(preferences, std::nullopt);
    const std::vector<ScannedFolder> folders = changedFoldersWithin(watched, changed);
    if (folders.empty()) return {};
    ZBLog::appendLog("Populating projects from folders: %@", description(folders));
    return registerProjects(folders, known, wholeFolders(watched), showAlerts(preferences));
}

std::vector<Path> ProjectDiscovery::addNewProjectsInFolder(
    const Path& folder, const std::vector<std::string>& types,
    const std::vector<Path>& existingProjects, ShowAlerts showAlerts) {
    const Known known(existingProjects.begin(), existingProjects.end());
    return registerProjects({{folder, types}}, known, {}, showAlerts);
}

}  // namespace larkspan
