#include "foundation/PropertyList.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

// Whatever is read must be written so that it reads back, and is then written the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    const auto* bytes = reinterpret_cast<const char*>(data);
    const auto value = larkspan::parsePropertyList(std::string_view(bytes, size));
    if (!value) return 0;
    const std::string written = larkspan::serializePropertyList(*value);
    const auto again = larkspan::parsePropertyList(written);
    if (!again || larkspan::serializePropertyList(*again) != written) std::abort();
    return 0;
}
