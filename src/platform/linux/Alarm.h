#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace larkspan::platform {

// Calls a function at a moment, on a thread of its own, unless it is destroyed before. For ending
// waits in libraries that know no time-out.
class Alarm {
  public:
    using Moment = std::chrono::steady_clock::time_point;

    Alarm(Moment when, std::function<void()> ring);
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;
    // Waits for a call that is under way.
    ~Alarm();

  private:
    void waitAndRing(Moment when);

    const std::function<void()> ring_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool cancelled_ = false;
    std::thread thread_;
};

}  // namespace larkspan::platform
