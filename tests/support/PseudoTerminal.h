#pragma once

#include "platform/posix/FileDescriptor.h"

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace larkspan::testing {

// A terminal and the person before it.
class PseudoTerminal {
  public:
    PseudoTerminal() : screen_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK)) {
        std::array<char, 100> name{};
        const bool isMade = screen_ && ::grantpt(screen_.get()) == 0 &&
                            ::unlockpt(screen_.get()) == 0 &&
                            ::ptsname_r(screen_.get(), name.data(), name.size()) == 0;
        if (isMade) terminal_.reset(::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC));
        if (!terminal_) throw std::runtime_error("no terminal can be made");
    }

    // The program's side.
    int terminal() const { return terminal_.get(); }

    void type(const std::string& keys) const {
        if (::write(screen_.get(), keys.data(), keys.size()) < 0) {
            throw std::runtime_error("nothing can be typed");
        }
    }
    // Whether the text is on the screen by now, below what was found before; does not wait.
    bool shows(const std::string& text) {
        std::array<char, 4096> bytes{};
        const ssize_t count = ::read(screen_.get(), bytes.data(), bytes.size());
        if (count > 0) content_.append(bytes.data(), static_cast<size_t>(count));
        const size_t at = content_.find(text, looked_);
        if (at == std::string::npos) return false;
        looked_ = at + text.size();
        return true;
    }
    const std::string& content() const { return content_; }
    void hangUp() { screen_.reset(); }

  private:
    platform::FileDescriptor screen_;
    platform::FileDescriptor terminal_;
    std::string content_;
    size_t looked_ = 0;
};

}  // namespace larkspan::testing
