#pragma once

#include "foundation/Date.h"
#include "kit/RunningTask.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace larkspan {

// Holds one run to its time. A thread of its own sleeps from the launch on; when the time is over,
// RunningTask::timeout is performed on the main thread, which asks the process to end. Whoever has
// not returned when `grace` has passed after that is made to: the process is killed, since it does
// not listen, and reading from it is stopped, since a child of its own may keep the pipes open.
//
// While the main thread does not serve its events the time-out waits for it; a run on the main
// thread itself therefore has none. When the main thread's loop has ended for good, the watchdog's
// thread does it.
class TaskWatchdog {
  public:
    // Throws std::system_error when there are no threads left.
    TaskWatchdog(std::shared_ptr<RunningTask> task, std::chrono::seconds timeout, Seconds grace);
    TaskWatchdog(const TaskWatchdog&) = delete;
    TaskWatchdog& operator=(const TaskWatchdog&) = delete;
    // The run has returned: nothing happens any more. Never waits for the main thread.
    ~TaskWatchdog();

  private:
    struct Watch;
    class Delivery;
    static void work(const std::shared_ptr<Watch>& watch);

    const std::shared_ptr<Watch> watch_;
    std::thread thread_;
};

}  // namespace larkspan
