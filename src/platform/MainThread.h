#pragma once

#include "foundation/Date.h"

#include <functional>
#include <memory>

namespace larkspan::platform {

// The main thread's run loop. Unless said otherwise every member may be called from any thread.
// Nothing wakes the loop between events: no polling, no idle timers.
class MainThread {
  public:
    using Work = std::function<void()>;

    // Stops its timer when destroyed, on the main thread only.
    class Timer {
      public:
        virtual ~Timer() = default;
    };

    virtual ~MainThread() = default;

    // Whether the caller is on the main thread: the thread that made this object.
    virtual bool isCurrent() const = 0;

    // Queues work for the main thread and returns. Works posted by one thread run in order. Work
    // posted before run() is run by it; work not yet run when the loop ends for good is dropped.
    virtual void post(Work work) = 0;

    // Runs work on the main thread and returns when it is done; on the main thread it runs at once.
    // When the loop has ended for good (terminate), returns false without running it.
    virtual bool performAndWait(Work work) = 0;

    // Calls `work` on the main thread every `interval`, first after one interval, until the timer
    // is destroyed. An interval that passes while the loop is busy gives one call, not several.
    // Main thread only.
    virtual std::unique_ptr<Timer> scheduleRepeating(Seconds interval, Work work) = 0;

    // Serves events until stop(). Main thread only, not nested.
    virtual void run() = 0;

    // Serves one event, waiting for it at most that long. Also while an event is being served, so
    // that what waits on the main thread for an answer keeps it responsive. Main thread only.
    virtual void serveEvent(Seconds longestWait) = 0;

    // Makes run() return after the event it is serving. Before run(): run() returns at once.
    virtual void stop() = 0;

    // Ends the loop for good: nothing posted later runs, and threads blocked in performAndWait are
    // let go with false. Main thread only.
    virtual void terminate() = 0;

    // Whether terminate() was called: nothing that is to happen on the main thread happens any
    // more.
    virtual bool hasEnded() const = 0;
};

}  // namespace larkspan::platform
