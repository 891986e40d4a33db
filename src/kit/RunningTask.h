#pragma once

#include "foundation/Path.h"
#include "foundation/Result.h"
#include "platform/Processes.h"

#include <functional>
#include <memory>
#include <mutex>

namespace larkspan {

// The process of a run, where other threads reach it while the run lasts. Any thread.
//
//   RunningTask task;  // made by one thread, handed to another that runs a program with it
//   task.terminate();  // by anybody, at any time
class RunningTask {
  public:
    // Starts the program and keeps its process until clear().
    Result<std::shared_ptr<platform::Process>> launch(const platform::LaunchRequest& request);

    // Null before the launch and after clear().
    std::shared_ptr<platform::Process> process() const;
    bool isRunning() const;
    void clear();

    // Asks the process to end. Before the launch: the process is asked as soon as there is one.
    void terminate();

    // What the end of the allowed time brings: when the process is running, that is logged and
    // the process asked to end.
    void timeout() const;

    // Called by launch() when a process has started. To be set before the run.
    void observeLaunch(std::function<void()> observer);

  private:
    mutable std::mutex mutex_;
    std::shared_ptr<platform::Process> process_;
    Path launchPath_;
    bool terminationAsked_ = false;
    std::function<void()> launchObserver_;
};

}  // namespace larkspan
