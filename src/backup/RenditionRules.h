#pragma once

#include "foundation/Result.h"
#include "kit/Preferences.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace larkspan {

// When a version of a Final Cut Pro 7 project gets an XML rendition, as functions of values.

// What the user wants.
struct RenditionSettings {
    long policy = 5;                // the preference xmlLimit
    bool removesDuplicates = true;  // versions equal to the one before go
};

// A file without the switch generateFCPXML turns renditions off; no file at all leaves them on.
RenditionSettings renditionSettings(const Preferences& frontEnd);

// A policy of 0 allows no renditions; others bound the size of the project file (bytes, single
// precision as it always was) and the versions since the last rendition.
struct RenditionLimits {
    std::optional<float> size = std::nullopt;
    unsigned long gap = 0;
};
inline constexpr long noRenditions = 0;
RenditionLimits renditionLimits(long policy);

inline bool isBelow(std::optional<float> limit, std::uint64_t size) {
    return !limit || static_cast<float>(size) < *limit;
}

// The XML that the application gave, with one element a line, indented by tabs, and a declaration;
// comments, DOCTYPE and texts stay as they are. What is nested deeper than any project is not
// indented, which would take all memory. An error with a sentence for what is no well-formed
// document.
Result<std::string> tidiedXML(std::string_view xml);

}  // namespace larkspan
