#pragma once

#include "foundation/Result.h"
#include "foundation/Value.h"

#include <string>
#include <string_view>

namespace larkspan {

inline constexpr const char* propertyListErrorDomain = "PropertyListErrorDomain";

// Bounds put on property lists before they are parsed; all lie far above what any real
// preferences, settings or cache file reaches.
inline constexpr size_t largestPropertyList = 64UL * 1024 * 1024;  // bytes
inline constexpr int deepestPropertyList = 512;                    // nested containers
inline constexpr size_t mostPropertyListValues = 4'000'000;        // keys counted, too

// Reads a property list in its XML or binary form; a byte-order mark before the XML is skipped.
// Torn, oversized or too deeply nested input gives an error of propertyListErrorDomain, with a
// sentence as its description. Integers that do not fit become the nearest limit, as do dates;
// UIDs become integers; dates are cut to whole seconds.
Result<Value> parsePropertyList(std::string_view bytes);

// The XML form, the same bytes for equal values whatever the user's locale. Dates keep whole
// seconds. Texts keep their bytes, also those that are not UTF-8; only a zero byte, which XML
// cannot hold, becomes U+FFFD. A value nested deeper than deepestPropertyList is written, but not
// read back.
std::string serializePropertyList(const Value& value);

}  // namespace larkspan
