#include "changes/PercentEscapes.h"

#include <charconv>

namespace larkspan {
namespace {

constexpr size_t escapeLength = 3;

// The byte that "%41" stands for.
std::optional<unsigned char> escapedByte(std::string_view escape) {
    if (escape.size() < escapeLength) return std::nullopt;
    unsigned char byte = 0;
    const char* end = escape.data() + escapeLength;
    const auto [stop, problem] = std::from_chars(escape.data() + 1, end, byte, 16);
    if (problem != std::errc() || stop != end) return std::nullopt;
    return byte;
}

}  // namespace

std::optional<std::string> resolvingPercentEscapes(std::string_view text, EscapedBytes bytes) {
    std::string resolved;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            resolved += text[at];
            continue;
        }
        const auto byte = escapedByte(text.substr(at));
        if (!byte || (bytes == EscapedBytes::ascii && *byte >= 0x80)) return std::nullopt;
        resolved += static_cast<char>(*byte);
        at += escapeLength - 1;
    }
    return resolved;
}

std::string withPercentEscapesResolved(std::string_view text) {
    if (text.find('%') == std::string_view::npos) return std::string(text);
    return resolvingPercentEscapes(text, EscapedBytes::ascii).value_or(std::string(text));
}

}  // namespace larkspan
