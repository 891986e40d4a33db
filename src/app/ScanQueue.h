#pragma once

#include "foundation/OperationQueue.h"

#include <atomic>
#include <string>

namespace larkspan {

// The serial queue on which everything that touches the version store runs, with a count of the
// runs, by which others can tell when a run that they asked for has ended. Any thread.
class ScanQueue {
  public:
    ScanQueue();

    void addOperation(OperationQueue::Operation operation);
    void waitUntilAllOperationsAreFinished() { queue_.waitUntilAllOperationsAreFinished(); }
    size_t operationCount() const { return queue_.operationCount(); }

    // Runs ever queued, and ended. Since they run one after another in order, a run has ended when
    // as many have ended as were queued with it.
    long runsQueued() const { return queued_; }
    long runsEnded() const { return ended_; }

  private:
    std::atomic<long> queued_{0};
    std::atomic<long> ended_{0};
    OperationQueue queue_;
};

}  // namespace larkspan
