#pragma once

#include "foundation/Result.h"
#include "foundation/Value.h"

#include <string>
#include <string_view>

namespace larkspan {

inline constexpr const char* propertyListErrorDomain = "PropertyListErrorDomain";

// Bounds put on property lists before they are parsed; both lie far above what any real
// preferences, settings or cache file reaches.
inline constexpr size_t largestPropertyList = 64UL * 1024 * 1024;  // bytes
inline constexpr int deepestPropertyList = 512;                    // nested containers

// Reads a property list in its XML or binary form; a byte-order mark before the XML is skipped.
// Torn, oversized or too deeply nested input gives an error of propertyListErrorDomain.
Result<Value> parsePropertyList(std::string_view bytes);

// The XML form. Dates keep whole seconds. Texts keep their bytes.
std::string serializePropertyList(const Value& value);

}  // namespace larkspan
