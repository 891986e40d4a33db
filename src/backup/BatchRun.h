#pragma once

#include "backup/EngineState.h"
#include "backup/ProjectBackup.h"
#include "backup/ProjectList.h"
#include "foundation/Path.h"
#include "foundation/Value.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace larkspan {

// What a batch run asks of the rest of the engine.
struct BatchActions {
    std::function<void(const Path& project, const Path& versions, VersionNumber number,
                       const BackupOptions& options)>
        backupProject;
    std::function<void()> manageBackups;
    // A project folder's up-to-date change-list cache, or nothing.
    std::function<std::optional<Value::Dictionary>(const Path& projectFolder)> cacheForProject;
};

// One walk over the known projects: takes a version of each whose file is newer than its newest
// version, then has the old versions thinned and the caches of what was backed up refreshed.
class BatchRun {
  public:
    BatchRun(EngineState& state, ProjectList& list, BatchActions actions)
        : state_(state), list_(list), actions_(std::move(actions)) {}

    // Limited to the projects whose expanded path begins with `path` (plain prefix), when given.
    void processProjectsInPath(const std::optional<Path>& path);

  private:
    struct Run;
    void processProject(Run& run, const ProjectEntry& entry);
    void refreshCaches(const std::vector<Path>& projectFolders) const;

    EngineState& state_;
    ProjectList& list_;
    BatchActions actions_;
};

}  // namespace larkspan
