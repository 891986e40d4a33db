#pragma once

#include <utility>

#include <unistd.h>

namespace larkspan::platform {

// Owns a file descriptor; -1 when it owns none.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) reset(std::exchange(other.descriptor_, -1));
        return *this;
    }
    ~FileDescriptor() { reset(); }

    int get() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }
    int release() { return std::exchange(descriptor_, -1); }
    void reset(int descriptor = -1) {
        if (descriptor_ >= 0) ::close(descriptor_);
        descriptor_ = descriptor;
    }

  private:
    int descriptor_ = -1;
};

}  // namespace larkspan::platform
