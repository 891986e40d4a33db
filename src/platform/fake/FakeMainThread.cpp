#include "platform/fake/FakeMainThread.h"

#include <algorithm>
#include <utility>

namespace larkspan::platform {

class FakeMainThread::FakeTimer final : public Timer {
  public:
    FakeTimer(FakeMainThread& owner, Seconds interval, Work work)
        : owner_(owner),
          interval_(interval),
          due_(owner.clock_.elapsed() + FakeClock::inNanoseconds(interval)),
          work_(std::make_shared<const Work>(std::move(work))) {}
    FakeTimer(const FakeTimer&) = delete;
    FakeTimer& operator=(const FakeTimer&) = delete;
    ~FakeTimer() override { owner_.timers_.remove(this); }

    Seconds interval() const { return interval_; }
    std::chrono::nanoseconds due() const { return due_; }
    void fire() {
        while (due_ <= owner_.clock_.elapsed()) due_ += FakeClock::inNanoseconds(interval_);
        const auto work = work_;  // the call may destroy this timer
        (*work)();
    }

  private:
    FakeMainThread& owner_;
    const Seconds interval_;
    std::chrono::nanoseconds due_;
    const std::shared_ptr<const Work> work_;
};

void FakeMainThread::post(Work work) {
    const std::lock_guard lock(mutex_);
    if (terminated_) return;
    posted_.push_back(std::move(work));
    changed_.notify_all();
}

bool FakeMainThread::performAndWait(Work work) {
    if (isCurrent()) {
        work();
        return true;
    }
    auto done = std::make_shared<bool>(false);
    post([this, done, work = std::move(work)] {
        work();
        const std::lock_guard lock(mutex_);
        *done = true;
        changed_.notify_all();
    });
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return *done || terminated_; });
    return *done;
}

std::unique_ptr<MainThread::Timer> FakeMainThread::scheduleRepeating(Seconds interval, Work work) {
    auto timer = std::make_unique<FakeTimer>(*this, interval, std::move(work));
    timers_.push_back(timer.get());
    return timer;
}

FakeMainThread::FakeTimer* FakeMainThread::nextTimer() const {
    FakeTimer* next = nullptr;
    for (FakeTimer* timer : timers_) {
        if (!next || timer->due() < next->due()) next = timer;
    }
    return next;
}

bool FakeMainThread::runOnePosted() {
    Work work;
    {
        const std::lock_guard lock(mutex_);
        if (posted_.empty()) return false;
        work = std::move(posted_.front());
        posted_.pop_front();
    }
    work();
    return true;
}

void FakeMainThread::runPosted() {
    while (runOnePosted()) {
    }
}

void FakeMainThread::run() {
    for (;;) {
        {
            std::unique_lock lock(mutex_);
            if (posted_.empty() && timers_.empty()) {
                changed_.wait(lock, [this] { return stopRequested_ || !posted_.empty(); });
            }
            if (std::exchange(stopRequested_, false)) return;
        }
        if (runOnePosted()) continue;
        if (FakeTimer* timer = nextTimer()) {
            const auto wait = timer->due() - clock_.elapsed();
            if (wait.count() > 0) clock_.advanceExactly(wait);
            timer->fire();
        }
    }
}

void FakeMainThread::serveEvent(Seconds longestWait) {
    if (runOnePosted()) return;
    const auto longest = FakeClock::inNanoseconds(longestWait);
    FakeTimer* timer = nextTimer();
    const auto wait = timer ? timer->due() - clock_.elapsed() : longest;
    clock_.advanceExactly(std::clamp(wait, std::chrono::nanoseconds(0), longest));
    if (timer && wait <= longest) timer->fire();
}

void FakeMainThread::advance(Seconds duration) {
    const auto end = clock_.elapsed() + FakeClock::inNanoseconds(duration);
    runPosted();
    for (FakeTimer* timer = nextTimer(); timer && timer->due() <= end; timer = nextTimer()) {
        clock_.advanceExactly(timer->due() - clock_.elapsed());
        timer->fire();
        runPosted();
    }
    clock_.advanceExactly(end - clock_.elapsed());
}

std::vector<Seconds> FakeMainThread::timerIntervals() const {
    std::vector<Seconds> intervals;
    for (const FakeTimer* timer : timers_) intervals.push_back(timer->interval());
    return intervals;
}

void FakeMainThread::stop() {
    const std::lock_guard lock(mutex_);
    stopRequested_ = true;
    changed_.notify_all();
}

void FakeMainThread::terminate() {
    const std::lock_guard lock(mutex_);
    terminated_ = true;
    posted_.clear();
    changed_.notify_all();
}

bool FakeMainThread::hasEnded() const {
    const std::lock_guard lock(mutex_);
    return terminated_;
}

}  // namespace larkspan::platform
