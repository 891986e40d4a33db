#pragma once

#include "foundation/Value.h"

#include <string>
#include <string_view>

namespace larkspan {

enum class JsonLayout { lines, oneLine };

// A value as JSON. Texts become valid UTF-8 (what is not is replaced by U+FFFD), dates
// "2026-01-31T14:03:11Z" with whole seconds, data hexadecimal digits, and numbers that JSON cannot
// express null. Fields stand in the order of their names.
std::string json(const Value& value, JsonLayout layout = JsonLayout::lines);

// A text as a JSON string, with its quotation marks.
std::string jsonString(std::string_view text);

}  // namespace larkspan
