#pragma once

#include "platform/MainThread.h"

#include <functional>

namespace larkspan::testing {

// Serves the main thread until the condition holds; false when it does not within the deadline.
// Works on the real main thread and on the fake one (where the deadline passes at once).
inline bool pumpUntil(platform::MainThread& mainThread, const std::function<bool()>& condition,
                      Seconds deadline = std::chrono::seconds(20)) {
    constexpr Seconds step = std::chrono::milliseconds(2);
    Seconds waited{0};
    if (condition()) return true;
    const auto timer = mainThread.scheduleRepeating(step, [&] {
        waited += step;
        if (condition() || waited > deadline) mainThread.stop();
    });
    mainThread.run();
    return condition();
}

// Serves the main thread for that long.
inline void pumpFor(platform::MainThread& mainThread, Seconds duration) {
    (void)pumpUntil(
        mainThread, [] { return false; }, duration);
}

}  // namespace larkspan::testing
