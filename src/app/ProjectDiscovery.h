#pragma once

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
    // Gives the paths of the known projects; asked once at the start of each run.
    using KnownProjects = std::function<std::vector<Path>()>;

    explicit ProjectDiscovery(KnownProjects known) : knownProjects_(std::move(known)) {}

    // One discovery run: in all watch folders, or in those that are a prefix of the path.
    void populateProjectsFromWatchFolders(const std::optional<Path>& path = std::nullopt) const;

    // Scans one folder tree. Tells the user of each new project when asked to.
    static void addNewProjectsInFolder(const Path& folder, const std::vector<std::string>& types,
                                       const std::vector<Path>& existingProjects,
                                       ShowAlerts showAlerts = ShowAlerts::yes);

  private:
    KnownProjects knownProjects_;
};

}  // namespace larkspan
