#include "platform/posix/AdvisoryLock.h"

#include "platform/posix/SystemCall.h"

#include <chrono>
#include <thread>

#include <sys/file.h>

namespace larkspan::platform {

int takeLock(int descriptor, Seconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (retrying([&] { return ::flock(descriptor, LOCK_EX | LOCK_NB); }) != 0) {
        if (errno != EWOULDBLOCK || std::chrono::steady_clock::now() >= end) return errno;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return 0;
}

}  // namespace larkspan::platform
