#pragma once

#include "foundation/OperationQueue.h"
#include "foundation/Path.h"
#include "platform/Processes.h"

#include <deque>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace larkspan {

// A process that is to carry out one transfer.
struct Transfer {
    Path executable;
    std::vector<std::string> arguments;
    // Transfers that work on the same file are not run side by side; "" for none.
    std::string file = {};
};

// Starts processes without waiting for them: so many side by side, the rest in the order in which
// they came. Any thread.
class TransferQueue {
  public:
    explicit TransferQueue(size_t mostAtOnce);
    TransferQueue(const TransferQueue&) = delete;
    TransferQueue& operator=(const TransferQueue&) = delete;
    // What runs goes on. What waits is dropped, and that is logged.
    ~TransferQueue();

    // Starts the process at once or later. One that cannot be started is logged.
    void add(Transfer transfer);

    bool isIdle();

    // Calls back, on any thread, once nothing waits any more; at once when nothing does.
    void whenAllAreStarted(std::function<void()> call);

  private:
    struct Run {
        Transfer transfer;
        std::shared_ptr<platform::Process> process;
    };
    void startWhatMay(std::unique_lock<std::mutex>& lock);
    bool mayStart(const Transfer& transfer) const;
    void waitForEnd(std::list<Run>::iterator run);

    const size_t mostAtOnce_;
    std::mutex mutex_;
    std::deque<Transfer> waiting_;
    std::list<Run> running_;
    std::vector<std::function<void()>> calls_;
    OperationQueue watchers_;  // last: its threads end before what they use
};

}  // namespace larkspan
