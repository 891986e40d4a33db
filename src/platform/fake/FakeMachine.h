#pragma once

#include "platform/Machine.h"

namespace larkspan::platform {

struct FakeMachine final : Machine {
    std::string operatingSystemVersion() const override { return version; }
    long processorCount() const override { return processors; }
    std::uint64_t physicalMemory() const override { return memory; }

    std::string version = "Test System 1.0";
    long processors = 2;
    std::uint64_t memory = 4ULL << 30;
};

}  // namespace larkspan::platform
