#include "platform/posix/SystemClock.h"

#include <thread>

namespace larkspan::platform {

Date SystemClock::now() const {
    return std::chrono::time_point_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now());
}

Seconds SystemClock::uptime() const {
    return std::chrono::steady_clock::now().time_since_epoch();
}

void SystemClock::sleepFor(Seconds duration) {
    std::this_thread::sleep_for(duration);
}

}  // namespace larkspan::platform
