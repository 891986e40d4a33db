#pragma once

#include "backup/ProjectList.h"
#include "backup/RetentionPolicy.h"
#include "foundation/Path.h"
#include "platform/Files.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace larkspan {

enum class RemoveSynced { no, yes };

struct ProjectPlan {
    Path versionFolder;
    RetentionPlan plan;
};

// Keeps the version store within what the user wants kept: reads the folders, has the policy decide
// and removes what is to go. Used from the scan queue.
class Retention {
  public:
    // Is handed the paths of versions whose copies in the cloud are to go, too: those of a project
    // before they are removed here, then all of a run.
    struct SyncedFiles {
        std::function<void(const std::vector<Path>& versions)> noteRemovals;
        std::function<void(const std::vector<Path>& versions)> remove;
    };

    // The list must outlive this.
    Retention(ProjectList& list, SyncedFiles syncedFiles)
        : list_(list), syncedFiles_(std::move(syncedFiles)) {}

    // Applies the rules to every project in the store.
    void manageBackups();
    // To these projects, given by the names of their folders. What cannot be removed counts as
    // removed for the cloud, and is tried again in the next run. A project whose versions cannot be
    // read is left alone.
    void manageBackups(const ProjectListing& listing, const std::vector<std::string>& projects);

    // What manageBackups would decide now; nothing is touched.
    static RetentionPlan plan(const Path& versionFolder, const RetentionRules& rules);
    // The same for a store, up to the project that ends the run; empty when there is no store.
    static std::optional<std::vector<ProjectPlan>> plans(const Path& root,
                                                         const RetentionRules& rules);

    // Removes one version with everything that belongs to it.
    void removeBackup(const Path& version, RemovalType removeType,
                      RemoveSynced removeSynced = RemoveSynced::yes) const;

    // Removes the last entry of a version folder when it equals the one before it, whatever the
    // user wants done with removed versions. True when it did.
    static bool removeLastDuplicateForProject(const Path& versionFolder);

    // Removes a folder that is empty or holds nothing but one hidden entry. False when it holds
    // more or stays.
    static bool removeEmptyFolder(const Path& folder);

  private:
    // False when the run is over. What is removed is added to `removed`.
    bool manageProject(const ProjectListing& listing, const std::string& folderName,
                       const RetentionRules& rules, std::vector<Path>& removed);
    void warnOfPeriodCount(long stored);

    ProjectList& list_;
    SyncedFiles syncedFiles_;
    bool warned_ = false;
};

}  // namespace larkspan
