#pragma once

#include "platform/linux/LinuxMainThread.h"
#include "platform/posix/FileDescriptor.h"

#include <functional>
#include <memory>

#include <signal.h>

namespace larkspan::platform {

// Turns the polite signals to end (SIGINT, SIGTERM, SIGHUP) into calls on the main thread, so that
// a program ends in order. While one lives these signals no longer end the process by themselves.
// Main thread only. Programs that it does not start begin with the signals unblocked as long as
// they are started through Processes.
class TerminationSignals {
  public:
    using Handler = std::function<void(int signal)>;

    // Blocks the signals in the calling thread and those that it starts later. A thread that runs
    // already would still die of them, so this comes first in main. Calling it twice is harmless.
    static void block();

    // Calls the handler for every such signal from now on, also for one that came since block().
    // The constructor blocks as well; when the system gives no descriptor for signals it throws
    // std::system_error.
    TerminationSignals(LinuxMainThread& mainThread, Handler handler);
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    // The signals stay blocked: one that comes now must not end the process in its last steps.
    ~TerminationSignals() = default;

  private:
    void drain();

    Handler handler_;
    FileDescriptor descriptor_;
    std::unique_ptr<MainThread::Timer> watch_;  // last: ends before what it uses
};

}  // namespace larkspan::platform
