#pragma once

#include <string_view>

namespace larkspan {

// What the XML library accepts although XML does not allow it.

// Whether every "&" outside comments, character data sections, processing instructions and the
// document type begins a character reference or one of the five entities that XML itself knows. A
// document's own entities are not expanded, so that references to them are refused, too.
bool referencesAreKnown(std::string_view document);

// Whether the bytes are UTF-8 without a zero byte.
bool isUtf8WithoutZero(std::string_view document);

}  // namespace larkspan
