#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace larkspan {

enum class EscapedBytes { ascii, any };

// The text with its percent escapes ("%20") resolved; empty when a "%" begins none, or when one
// stands for a byte that is not wanted.
std::optional<std::string> resolvingPercentEscapes(std::string_view text, EscapedBytes bytes);

// The same with ASCII escapes only, and the text as it is where that fails: a name may well hold a
// "%" of its own.
std::string withPercentEscapesResolved(std::string_view text);

}  // namespace larkspan
