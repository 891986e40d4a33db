#pragma once

#include <string>
#include <string_view>

namespace larkspan::testing {

// The rule that an include breaks, in words; "" when it breaks none. `file` is the path of the
// including file from the source folder ("src/kit/ZBLog.cpp"), `include` what the directive names,
// with its brackets or quotes ("<plist/plist.h>").
std::string brokenIncludeRule(std::string_view file, std::string_view include);

// What an include directive names, with its brackets or quotes; "" for every other line.
std::string_view includedBy(std::string_view line);

}  // namespace larkspan::testing
