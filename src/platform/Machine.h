#pragma once

#include <cstdint>
#include <string>

namespace larkspan::platform {

// Facts about the computer; none of them changes while the process runs.
class Machine {
  public:
    virtual ~Machine() = default;

    // Name and version as the system gives them, for example "Debian GNU/Linux 12 (bookworm)".
    virtual std::string operatingSystemVersion() const = 0;
    virtual long processorCount() const = 0;
    virtual std::uint64_t physicalMemory() const = 0;  // bytes
};

}  // namespace larkspan::platform
