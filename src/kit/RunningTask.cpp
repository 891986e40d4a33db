#include "kit/RunningTask.h"

#include "kit/ZBLog.h"
#include "platform/Platform.h"

#include <utility>

namespace larkspan {

using platform::Process;

Result<std::shared_ptr<Process>> RunningTask::launch(const platform::LaunchRequest& request) {
    auto launched = platform::Platform::current().processes.launch(request);
    if (!launched) return launched;
    std::function<void()> observer;
    {
        const std::lock_guard lock(mutex_);
        process_ = *launched;
        launchPath_ = request.launchPath;
        if (terminationAsked_) process_->terminate();
        observer = launchObserver_;
    }
    if (observer) observer();
    return launched;
}

std::shared_ptr<Process> RunningTask::process() const {
    const std::lock_guard lock(mutex_);
    return process_;
}

bool RunningTask::isRunning() const {
    const auto task = process();
    return task && task->isRunning();
}

void RunningTask::clear() {
    const std::lock_guard lock(mutex_);
    process_.reset();
    terminationAsked_ = false;
}

void RunningTask::terminate() {
    const std::lock_guard lock(mutex_);
    terminationAsked_ = true;
    if (process_) process_->terminate();
}

void RunningTask::timeout() const {
    std::shared_ptr<Process> task;
    Path launchPath;
    {
        const std::lock_guard lock(mutex_);
        task = process_;
        launchPath = launchPath_;
    }
    if (!task || !task->isRunning()) return;
    ZBLog::appendLogAndPrint("Task %@ timed out. Terminating...", launchPath);
    task->terminate();
}

void RunningTask::observeLaunch(std::function<void()> observer) {
    const std::lock_guard lock(mutex_);
    launchObserver_ = std::move(observer);
}

}  // namespace larkspan
