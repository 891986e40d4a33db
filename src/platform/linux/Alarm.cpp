#include "platform/linux/Alarm.h"

#include <utility>

namespace larkspan::platform {

Alarm::Alarm(Moment when, std::function<void()> ring)
    : ring_(std::move(ring)), thread_([this, when] { waitAndRing(when); }) {}

Alarm::~Alarm() {
    {
        const std::lock_guard lock(mutex_);
        cancelled_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void Alarm::waitAndRing(Moment when) {
    std::unique_lock lock(mutex_);
    const auto left = when - std::chrono::steady_clock::now();
    const bool isCancelled = changed_.wait_for(lock, left, [this] { return cancelled_; });
    lock.unlock();
    if (!isCancelled) ring_();
}

}  // namespace larkspan::platform
