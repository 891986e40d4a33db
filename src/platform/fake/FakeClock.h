#pragma once

#include "platform/Clock.h"

#include <atomic>
#include <cstdint>

namespace larkspan::platform {

// A clock that moves only when it is told to. Sleeping moves it, so that nothing really waits.
class FakeClock final : public Clock {
  public:
    explicit FakeClock(Date start = dateFromUnixTime(1'700'000'000)) : start_(start) {}

    Date now() const override { return start_ + std::chrono::nanoseconds(elapsed_.load()); }
    Seconds uptime() const override { return std::chrono::nanoseconds(elapsed_.load()); }
    void sleepFor(Seconds duration) override { advance(duration); }

    void advance(Seconds duration) { advanceExactly(inNanoseconds(duration)); }
    void advanceExactly(std::chrono::nanoseconds duration) { elapsed_ += duration.count(); }
    // Since the start, exactly.
    std::chrono::nanoseconds elapsed() const { return std::chrono::nanoseconds(elapsed_.load()); }

    static std::chrono::nanoseconds inNanoseconds(Seconds duration) {
        return std::chrono::ceil<std::chrono::nanoseconds>(duration);
    }

  private:
    const Date start_;
    std::atomic<std::int64_t> elapsed_{0};
};

}  // namespace larkspan::platform
