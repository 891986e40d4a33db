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

// Which projects a run is for, by their expanded paths; empty for all.
using ProjectFilter = std::function<bool(const Path& project)>;

// What a batch run asks of the rest of the engine.
struct BatchActions {
    std::function<BackupOutcome(const Path& project, const Path& versions, VersionNumber number,
                                const BackupOptions& options)>
        backupProject;
    // Thins the versions of these projects, given by the names of their folders in the store.
    std::function<void(const ProjectListing& listing, const std::vector<std::string>& projects)>
        manageBackups;
    // A project folder's up-to-date change-list cache, or nothing.
    std::function<std::optional<Value::Dictionary>(const Path& projectFolder)> cacheForProject;
};

// One walk over the known projects: takes a version of each whose file was saved since its newest
// version, then has old versions thinned and the caches of what was backed up refreshed. A project
// that is being written is set aside (EngineState::unrested); one that cannot be looked at is left
// out, with a line in the log.
class BatchRun {
  public:
    BatchRun(EngineState& state, ProjectList& list, BatchActions actions)
        : state_(state), list_(list), actions_(std::move(actions)) {}

    // Old versions are thinned of all projects in a run for all, else of those that got a version.
    void processProjects(const ProjectListing& listing, const ProjectFilter& wanted = {});

  private:
    struct Run;
    struct Candidate;
    void processProject(Run& run, const ProjectEntry& entry, Path project);
    void considerVersion(Run& run, const Candidate& candidate);
    bool mayNeedVersion(const Run& run, const Candidate& candidate);
    UnrestedProjects::Verdict lookWhetherAtRest(const Candidate& candidate);
    void takeVersion(Run& run, const Candidate& candidate, UnrestedProjects::Verdict verdict);
    void noteOutcome(const Candidate& candidate, UnrestedProjects::Verdict verdict,
                     BackupOutcome outcome);
    void refreshCaches(const std::vector<Path>& projectFolders) const;

    EngineState& state_;
    ProjectList& list_;
    BatchActions actions_;
};

}  // namespace larkspan
