#pragma once

#include <atomic>
#include <string_view>

namespace larkspan::platform {

// The process's standard output and the system console. Every member may be called from any
// thread; each call is one whole line, never mixed with another's.
class Console {
  public:
    virtual ~Console() = default;

    // One line on standard output; a missing new line at the end is added.
    virtual void print(std::string_view line) = 0;

    // One line on the system console (standard error on Linux).
    virtual void report(std::string_view line) = 0;

    // The same for what only a person who looks for a mistake wants to read: nothing until
    // showDetails was called.
    void detail(std::string_view line) {
        if (showsDetails_) report(line);
    }
    void showDetails() { showsDetails_ = true; }

  private:
    std::atomic<bool> showsDetails_{false};
};

}  // namespace larkspan::platform
