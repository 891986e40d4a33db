#pragma once

#include "platform/posix/FileDescriptor.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <sys/inotify.h>

namespace larkspan::platform {

// The system calls that can run out of resources; tests put their own in place.
struct InotifyCalls {
    std::function<int()> open = [] { return inotify_init1(IN_NONBLOCK | IN_CLOEXEC); };
    std::function<int(int descriptor, const char* path, std::uint32_t mask)> addWatch =
        inotify_add_watch;
};

struct InotifyEvent {
    int watch = -1;
    std::uint32_t mask = 0;
    std::string_view name;  // "" when the event is about the watched folder itself
};

// One inotify instance. Used by one thread at a time.
class Inotify {
  public:
    explicit Inotify(const InotifyCalls& calls);

    // False when the system gave no instance; every watch() fails then.
    bool isOpen() const { return static_cast<bool>(descriptor_); }
    int descriptor() const { return descriptor_.get(); }

    // The watch descriptor (1 or more), the same for the same folder however it is reached; or a
    // negative errno value.
    int watch(const std::string& path, std::uint32_t mask);
    void forget(int watch);

    // Hands on what is queued now, up to a bound. True when more may be queued.
    bool read(const std::function<void(const InotifyEvent&)>& handle);

  private:
    const InotifyCalls& calls_;
    FileDescriptor descriptor_;
    std::unique_ptr<char[]> buffer_;
};

}  // namespace larkspan::platform
