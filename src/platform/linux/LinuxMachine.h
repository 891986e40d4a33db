#pragma once

#include "platform/Machine.h"

namespace larkspan::platform {

class LinuxMachine final : public Machine {
  public:
    std::string operatingSystemVersion() const override;
    long processorCount() const override;
    std::uint64_t physicalMemory() const override;
};

}  // namespace larkspan::platform
