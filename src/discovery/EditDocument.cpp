#include "discovery/EditDocument.h"

#include <algorithm>
#include <array>
#include <string>

namespace larkspan {
namespace {

constexpr std::array<std::string_view, 4> outermostElements = {"xmeml", "fcpxml", "mlt",
                                                               "PremiereData"};
constexpr std::string_view whiteSpace = " \t\r\n";

bool isOneOf(char character, std::string_view characters) {
    return characters.find(character) != std::string_view::npos;
}

// UTF-16 as ASCII, with "?" for what is none. `high` is where the upper byte of a pair stands.
std::string narrowed(std::string_view bytes, size_t high) {
    std::string text;
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        text += bytes[i + high] == '\0' ? bytes[i + 1 - high] : '?';
    }
    return text;
}

// The text without its byte-order mark, in an encoding that has ASCII as it is.
std::string asciiCompatible(std::string_view bytes) {
    using namespace std::string_view_literals;
    if (bytes.starts_with("\xEF\xBB\xBF")) return std::string(bytes.substr(3));
    if (bytes.starts_with("\xFF\xFE")) return narrowed(bytes.substr(2), 1);
    if (bytes.starts_with("\xFE\xFF")) return narrowed(bytes.substr(2), 0);
    if (bytes.starts_with("<\0"sv)) return narrowed(bytes, 1);
    if (bytes.starts_with("\0<"sv)) return narrowed(bytes, 0);
    return std::string(bytes);
}

// Behind the end mark, or nothing when that does not come.
std::string_view behind(std::string_view text, std::string_view endMark) {
    const size_t end = text.find(endMark);
    return end == std::string_view::npos ? std::string_view() : text.substr(end + endMark.size());
}

// A document type ends with the first ">" that is neither quoted nor in its "[...]".
std::string_view behindDocumentType(std::string_view text) {
    char quote = '\0';
    int brackets = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const char next = text[i];
        if (quote != '\0') {
            if (next == quote) quote = '\0';
        } else if (isOneOf(next, "\"'")) {
            quote = next;
        } else if (text.substr(i).starts_with("<!--")) {
            i = text.size() - behind(text.substr(i), "-->").size() - 1;
        } else if (isOneOf(next, "[]")) {
            brackets += next == '[' ? 1 : -1;
        } else if (next == '>' && brackets <= 0) {
            return text.substr(i + 1);
        }
    }
    return {};
}

// From the outermost element on.
std::string_view withoutProlog(std::string_view text) {
    for (;;) {
        text.remove_prefix(std::min(text.find_first_not_of(whiteSpace), text.size()));
        if (text.starts_with("<?")) {
            text = behind(text, "?>");
        } else if (text.starts_with("<!--")) {
            text = behind(text, "-->");
        } else if (text.starts_with("<!")) {
            text = behindDocumentType(text);
        } else {
            return text;
        }
    }
}

}  // namespace

bool showsEditDocument(std::string_view firstBytes) {
    const std::string text = asciiCompatible(firstBytes.substr(0, editDocumentStart));
    const std::string_view document = withoutProlog(text);
    if (!document.starts_with('<')) return false;
    const size_t end = std::min(document.find_first_of(" \t\r\n/>"), document.size());
    const std::string_view name = document.substr(1, end - 1);
    return end < document.size() &&
           std::ranges::find(outermostElements, name) != outermostElements.end();
}

}  // namespace larkspan
