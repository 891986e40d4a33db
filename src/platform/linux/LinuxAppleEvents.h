#pragma once

#include "platform/AppleEvents.h"

namespace larkspan::platform {

// Applications on Linux take no Apple Events, so none that does is running.
class LinuxAppleEvents final : public AppleEvents {
  public:
    Result<std::vector<AppleEventDescriptor>> send(const AppleEvent& event,
                                                   const AppleEventSending& how) override;
    std::optional<std::string> fileReference(const Path&) override { return std::nullopt; }
    std::optional<Path> pathOfFileReference(std::string_view) override { return std::nullopt; }
};

}  // namespace larkspan::platform
