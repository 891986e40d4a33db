#pragma once

#include "platform/Console.h"

#include <mutex>

namespace larkspan::platform {

// Standard output and standard error. A reader that went away is no failure of ours.
class StandardStreams final : public Console {
  public:
    void print(std::string_view line) override;
    void report(std::string_view line) override;

  private:
    std::mutex mutex_;
};

}  // namespace larkspan::platform
