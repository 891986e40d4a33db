#include "platform/AppleEvents.h"

#include <algorithm>

namespace larkspan::platform {

std::string bigEndianBytes(std::uint32_t number) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<char>(number >> shift & 0xFFU));
    }
    return bytes;
}

const AppleEventDescriptor* findKeyword(const std::vector<AppleEventDescriptor>& descriptors,
                                        FourCharCode keyword) {
    const auto found = std::ranges::find(descriptors, keyword, &AppleEventDescriptor::keyword);
    return found == descriptors.end() ? nullptr : &*found;
}

}  // namespace larkspan::platform
