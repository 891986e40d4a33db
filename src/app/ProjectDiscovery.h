#pragma once

#include "app/ChangedFolder.h"
#include "app/WatchConfiguration.h"
#include "foundation/Guarded.h"
#include "foundation/Path.h"

#include <functional>
#include <optional>
#include <unordered_set>
#include <vector>

namespace larkspan {

enum class ShowAlerts { no, yes };

// Finds project files in the watch folders and registers those that the store does not know yet.
// Runs on the scan queue; inside a run up to four folders are scanned at once.
class ProjectDiscovery {
  public:
    // Expanded paths of the known projects.
    using Known = std::unordered_set<Path>;

    static std::vector<Path> populateProjectsFromWatchFolders(
        const Known& known, const std::optional<Path>& path = std::nullopt);
    static std::vector<Path> populateProjectsFromChangedFolders(
        const Known& known, const std::vector<ChangedFolder>& changed);

    // Scans one folder tree. Tells the user of each new project when asked to.
    static void addNewProjectsInFolder(const Path& folder, const std::vector<std::string>& types,
                                       const std::vector<Path>& existingProjects,
                                       ShowAlerts showAlerts = ShowAlerts::yes);
};

}  // namespace larkspan
