#include "kit/ZBException.h"
#include "kit/ZBLog.h"
#include "kit/ZBTaskEx.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <exception>
#include <system_error>
#include <utility>

namespace larkspan {

using platform::LaunchRequest;
using platform::Platform;
using platform::Process;
using platform::Stream;

// One asynchronous run. Its thread holds it, and touches the runner only to hand it to the
// delegate, so that a delegate may destroy the runner.
class ZBTaskEx::AsyncRun {
  public:
    AsyncRun(LaunchRequest request, Delegate delegate)
        : request_(std::move(request)), delegate_(std::move(delegate)) {}

    void launchAsyncTask(ZBTaskEx& runner);
    void terminate();
    bool isTerminated();
    // Null before the launch and when the run was ended.
    std::shared_ptr<Process> process() { return isTerminated() ? nullptr : task_.process(); }
    void timeout() const { task_.timeout(); }

  private:
    void run(ZBTaskEx& runner);
    void asyncTaskReturnData(const Data& chunk, ZBTaskEx& runner);
    Delegate currentDelegate();

    const LaunchRequest request_;
    RunningTask task_;
    std::mutex mutex_;
    Delegate delegate_;
    bool terminated_ = false;
};

void ZBTaskEx::AsyncRun::launchAsyncTask(ZBTaskEx& runner) {
    constexpr const char* method = "-[ZBTaskEx launchAsyncTask]";
    try {
        run(runner);
    } catch (const std::exception& exception) {
        (void)ZBException::logException({.name = "std::exception", .reason = exception.what()},
                                        method);
        terminate();
    }
}

void ZBTaskEx::AsyncRun::run(ZBTaskEx& runner) {
    if (isTerminated()) {
        ZBLog::appendLogAndPrint("Unable to launch async task - no task set");
        return;
    }
    auto& files = Platform::current().files;
    if (!files.exists(request_.launchPath) || !files.isExecutable(request_.launchPath)) {
        ZBLog::appendLog("Unable to launch async task - task does not exist or is not executable");
        return;
    }
    const auto launched = task_.launch(request_);
    if (!launched) {
        (void)ZBException::logException(
            {.name = "NSInvalidArgumentException", .reason = launched.error().description},
            "-[ZBTaskEx launchAsyncTask]");
        return;
    }
    // Ended while it was being launched: the process was asked to end by the task, its output is
    // nobody's.
    if (isTerminated()) (*launched)->stopReading();
    for (Data chunk;;) {
        chunk.bytes = (*launched)->readAvailableOutput();
        asyncTaskReturnData(chunk, runner);
        if (chunk.bytes.empty()) return;
    }
}

void ZBTaskEx::AsyncRun::asyncTaskReturnData(const Data& chunk, ZBTaskEx& runner) {
    if (const Delegate delegate = currentDelegate()) delegate(chunk, runner);
    if (chunk.bytes.empty()) terminate();
}

void ZBTaskEx::AsyncRun::terminate() {
    Delegate released;  // destroyed outside the lock: what it holds may end in anything
    {
        const std::lock_guard lock(mutex_);
        terminated_ = true;
        released.swap(delegate_);
    }
    if (const auto process = task_.process()) process->stopReading();
    task_.terminate();
}

bool ZBTaskEx::AsyncRun::isTerminated() {
    const std::lock_guard lock(mutex_);
    return terminated_;
}

ZBTaskEx::Delegate ZBTaskEx::AsyncRun::currentDelegate() {
    const std::lock_guard lock(mutex_);
    return delegate_;
}

ZBTaskEx::~ZBTaskEx() {
    std::unique_lock lock(mutex_);
    closing_ = true;
    endRun(lock);
}

// Gives the lock up while it waits, since the delegate may call the runner.
void ZBTaskEx::endRun(std::unique_lock<std::mutex>& lock) {
    const std::shared_ptr<AsyncRun> run = std::exchange(run_, nullptr);
    std::thread thread = std::move(thread_);
    if (!run) return;
    lock.unlock();
    run->terminate();
    if (thread.get_id() == std::this_thread::get_id()) {
        thread.detach();
    } else {
        thread.join();
    }
    lock.lock();
}

void ZBTaskEx::asyncDataFromTask(const Path& path, const Arguments& arguments, Delegate delegate,
                                 const std::optional<Environment>& environment) {
    const auto run = std::make_shared<AsyncRun>(LaunchRequest{.launchPath = path,
                                                              .arguments = arguments,
                                                              .environment = environment,
                                                              .output = Stream::pipe},
                                                std::move(delegate));
    std::unique_lock lock(mutex_);
    while (run_) endRun(lock);
    if (closing_) return;
    try {
        thread_ = std::thread([this, run] { run->launchAsyncTask(*this); });
        run_ = run;
    } catch (const std::system_error& error) {
        (void)ZBException::logException({.name = "std::system_error", .reason = error.what()},
                                        "-[ZBTaskEx launchAsyncTask]");
    }
}

std::shared_ptr<ZBTaskEx::AsyncRun> ZBTaskEx::currentRun() {
    const std::lock_guard lock(mutex_);
    return run_;
}

void ZBTaskEx::terminateAsyncTask() {
    if (const auto run = currentRun()) run->terminate();
}

void ZBTaskEx::timeout() {
    if (const auto run = currentRun()) run->timeout();
}

std::shared_ptr<Process> ZBTaskEx::theTask() {
    const auto run = currentRun();
    return run ? run->process() : nullptr;
}

}  // namespace larkspan
