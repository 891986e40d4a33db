#pragma once

#include "app/ChangedFolder.h"
#include "app/WatchConfiguration.h"
#include "discovery/FolderScan.h"
#include "foundation/Path.h"

#include <optional>
#include <vector>

namespace larkspan {

enum class ShowAlerts { no, yes };

// Finds project files in the watch folders and registers those that the store does not know yet.
// Runs on the scan queue; inside a run up to four folders are looked through at once. Every
// operation gives the paths of the projects that it registered.
class ProjectDiscovery {
  public:
    // Expanded paths of the known projects.
    using Known = KnownProjects;

    // One discovery run: in all watch folders, or in those that are a prefix of the path.
    static std::vector<Path> populateProjectsFromWatchFolders(
        const Known& known, const std::optional<Path>& path = std::nullopt);
    // One discovery run in just those of the folders that lie in a watch folder
    // (docs/behaviour.md, own 12).
    static std::vector<Path> populateProjectsFromChangedFolders(
        const Known& known, const std::vector<ChangedFolder>& changed);

    // Scans one folder tree. Tells the user of each new project when asked to.
    static std::vector<Path> addNewProjectsInFolder(const Path& folder,
                                                    const std::vector<std::string>& types,
                                                    const std::vector<Path>& existingProjects,
                                                    ShowAlerts showAlerts = ShowAlerts::yes);
};

}  // namespace larkspan
