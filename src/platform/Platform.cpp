#include "platform/Platform.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace larkspan::platform {
namespace {

std::atomic<Platform*> installed{nullptr};

}  // namespace

Platform& Platform::current() {
    Platform* platform = installed.load(std::memory_order_acquire);
    if (!platform) {
        (void)std::fputs("No platform is installed.\n", stderr);
        std::abort();
    }
    return *platform;
}

ScopedPlatform::ScopedPlatform(Platform& platform) : previous_(installed.exchange(&platform)) {}

ScopedPlatform::~ScopedPlatform() {
    installed.store(previous_, std::memory_order_release);
}

}  // namespace larkspan::platform
