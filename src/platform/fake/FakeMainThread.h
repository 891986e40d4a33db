#pragma once

#include "platform/MainThread.h"
#include "platform/fake/FakeClock.h"

#include <condition_variable>
#include <deque>
#include <list>
#include <mutex>
#include <thread>
#include <vector>

namespace larkspan::platform {

// A main thread that tests step through. run() serves what is posted and, when there is nothing,
// moves the clock to the next timer instead of waiting for it.
class FakeMainThread final : public MainThread {
  public:
    explicit FakeMainThread(FakeClock& clock) : clock_(clock) {}

    bool isCurrent() const override { return std::this_thread::get_id() == thread_; }
    void post(Work work) override;
    bool performAndWait(Work work) override;
    std::unique_ptr<Timer> scheduleRepeating(Seconds interval, Work work) override;
    void run() override;
    void serveEvent(Seconds longestWait) override;
    void stop() override;
    void terminate() override;
    bool hasEnded() const override;

    // Runs what is posted now and what that posts in turn; timers do not fire.
    void runPosted();
    // Moves the clock and fires the timers that fall due, each in its turn.
    void advance(Seconds duration);
    // Lengths of the timers that run, in the order in which they were scheduled.
    std::vector<Seconds> timerIntervals() const;

  private:
    class FakeTimer;
    bool runOnePosted();
    FakeTimer* nextTimer() const;

    FakeClock& clock_;
    const std::thread::id thread_ = std::this_thread::get_id();
    std::list<FakeTimer*> timers_;  // main thread only
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Work> posted_;
    bool stopRequested_ = false;
    bool terminated_ = false;
};

}  // namespace larkspan::platform
