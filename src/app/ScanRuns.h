#pragma once

#include "app/ChangedFolders.h"
#include "app/LinkedNames.h"
#include "app/ScanQueue.h"
#include "backup/ZBLarkspanBackup.h"
#include "foundation/Guarded.h"
#include "foundation/Path.h"
#include "platform/MainThread.h"

#include <memory>
#include <optional>
#include <vector>

namespace larkspan {

// What the helper does on the scan queue. A run takes everything that was asked for until it
// begins, so that requests that pile up are worked off together (docs/behaviour.md, own 12). Made,
// called and destroyed on the main thread, where it only queues work; the runs themselves are on
// the scan queue.
class ScanRuns {
  public:
    // The engine must outlive this.
    explicit ScanRuns(ZBLarkspanBackup& engine) : engine_(engine) {}
    ScanRuns(const ScanRuns&) = delete;
    ScanRuns& operator=(const ScanRuns&) = delete;

    // Backs up every project that changed, and looks for new ones everywhere.
    void scanEverything();
    // Backs up the projects in the changed folders, and looks for new ones in these and in the
    // others, where changes are not to be backed up. Without any it looks for new ones everywhere.
    void scanChanges(const ChangedFolders& changed, const ChangedFolders& onlyLookedThrough);
    // Looks for new projects in the watch folders that are a prefix of the path.
    void lookForProjects(const Path& path);

    ScanQueue& queue() { return queue_; }

  private:
    // What has been asked for and not yet begun.
    struct Requests {
        bool isQueued = false;
        bool everything = false;
        bool everyWatchFolder = false;
        bool unrested = false;
        ChangedFolders changed;
        ChangedFolders onlyLookedThrough;
        std::vector<Path> paths;
    };

    template <class Change>
    void request(Change change);
    void run();
    void noteNames(const ProjectListing& listing);
    void backUp(const Requests& requests, const ProjectListing& listing);
    std::vector<Path> discover(const Requests& requests, const ProjectListing& listing);
    void backUpFirstStates(const std::vector<Path>& registered);
    void planLookAtUnrested(Seconds soonest);

    ZBLarkspanBackup& engine_;
    Guarded<Requests> requests_;
    LinkedNames linkedNames_;  // of the runs
    std::unique_ptr<platform::MainThread::Timer> unrestedTimer_;
    // For work that is posted to the main thread and may come there after the end of this.
    const std::shared_ptr<ScanRuns*> self_ = std::make_shared<ScanRuns*>(this);
    ScanQueue queue_;  // last: its thread ends before what its runs use
};

}  // namespace larkspan
