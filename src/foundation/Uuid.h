#pragma once

#include <string>
#include <string_view>

namespace larkspan {

// A new random identifier in the upper-case 8-4-4-4-12 form. Safe from any thread.
std::string generateUUID();

bool isUUID(std::string_view text);

}  // namespace larkspan
