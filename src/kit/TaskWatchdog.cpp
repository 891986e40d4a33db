#include "kit/TaskWatchdog.h"

#include "platform/MainThread.h"
#include "platform/Platform.h"

#include <utility>

namespace larkspan {

// Shared with what is posted to the main thread, which may come to it after the run has returned.
struct TaskWatchdog::Watch {
    std::shared_ptr<RunningTask> task;
    std::chrono::seconds timeout;
    Seconds grace;
    std::mutex mutex;
    std::condition_variable changed;
    bool launched = false;
    bool cancelled = false;
    bool delivered = false;  // the time-out was performed
    bool settled = false;    // it was performed, or never will be

    void set(bool& flag) {
        const std::lock_guard lock(mutex);
        flag = true;
        changed.notify_all();
    }
    // Each of the two gives false when the run has returned.
    bool sleep(Seconds duration) {
        std::unique_lock lock(mutex);
        return !changed.wait_for(lock, duration, [&] { return cancelled; });
    }
    bool waitFor(const bool& flag) {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return flag || cancelled; });
        return !cancelled;
    }
};

// The time-out on its way to the main thread. One that is dropped unperformed settles the wait for
// it all the same.
class TaskWatchdog::Delivery {
  public:
    explicit Delivery(std::shared_ptr<Watch> watch) : watch_(std::move(watch)) {}
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;
    ~Delivery() { watch_->set(watch_->settled); }

    void perform() const {
        watch_->set(watch_->delivered);
        watch_->task->timeout();
    }

  private:
    const std::shared_ptr<Watch> watch_;
};

TaskWatchdog::TaskWatchdog(std::shared_ptr<RunningTask> task, std::chrono::seconds timeout,
                           Seconds grace)
    : watch_(std::make_shared<Watch>()) {
    watch_->task = std::move(task);
    watch_->timeout = timeout;
    watch_->grace = grace;
    thread_ = std::thread([watch = watch_] { work(watch); });
    watch_->task->observeLaunch([watch = watch_.get()] { watch->set(watch->launched); });
}

TaskWatchdog::~TaskWatchdog() {
    watch_->task->observeLaunch({});
    watch_->set(watch_->cancelled);
    thread_.join();
}

void TaskWatchdog::work(const std::shared_ptr<Watch>& watch) {
    if (!watch->waitFor(watch->launched) || !watch->sleep(watch->timeout)) return;
    {
        auto delivery = std::make_shared<Delivery>(watch);
        platform::Platform::current().mainThread.post(
            [delivery = std::move(delivery)] { delivery->perform(); });
    }
    if (!watch->waitFor(watch->settled)) return;
    if (!watch->delivered) watch->task->timeout();
    if (!watch->sleep(watch->grace)) return;
    if (const auto process = watch->task->process()) {
        process->kill();
        process->stopReading();
    }
}

}  // namespace larkspan
