#include "changes/ParserGaps.h"

#include "changes/CharacterReference.h"
#include "foundation/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace larkspan {
namespace {

constexpr size_t none = std::string_view::npos;

// Behind a document type that begins at `at`, with its internal subset.
size_t behindDocumentType(std::string_view document, size_t at) {
    size_t brackets = 0;
    char quote = '\0';
    for (; at < document.size(); ++at) {
        const char c = document[at];
        if (quote != '\0') {
            if (c == quote) quote = '\0';
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (document.substr(at).starts_with("<!--")) {
            at = std::min(document.find("-->", at), document.size() - 1);
        } else if (c == '[') {
            ++brackets;
        } else if (c == ']') {
            brackets -= brackets > 0 ? 1 : 0;
        } else if (c == '>' && brackets == 0) {
            return at + 1;
        }
    }
    return document.size();
}

// Behind what begins at a "<" and is no element; the "<" itself for an element.
size_t behindLiteral(std::string_view document, size_t at) {
    struct Literal {
        std::string_view start;
        std::string_view end;
    };
    constexpr std::array literals = {Literal{"<!--", "-->"}, Literal{"<![CDATA[", "]]>"},
                                     Literal{"<?", "?>"}};
    const std::string_view rest = document.substr(at);
    for (const auto& [start, end] : literals) {
        if (!rest.starts_with(start)) continue;
        const size_t found = document.find(end, at + start.size());
        return found == none ? document.size() : found + end.size();
    }
    return rest.starts_with("<!") ? behindDocumentType(document, at) : at + 1;
}

// Slower than looking at every "&" alone, and so only for documents where one looks wrong.
bool referencesAreKnownOutsideLiterals(std::string_view document) {
    size_t at = 0;
    while ((at = document.find_first_of("<&", at)) != none) {
        if (document[at] == '<') {
            at = behindLiteral(document, at);
        } else if (readReference(document.substr(at))) {
            ++at;
        } else {
            return false;
        }
    }
    return true;
}

// Skips eight bytes at a time while they are neither zero nor beyond ASCII.
size_t plainPrefix(std::string_view text) {
    constexpr std::uint64_t ones = 0x0101010101010101;
    constexpr std::uint64_t highBits = 0x8080808080808080;
    size_t at = 0;
    for (; at + sizeof(std::uint64_t) <= text.size(); at += sizeof(std::uint64_t)) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + at, sizeof word);
        if (((word | (word - ones)) & highBits) != 0) break;
    }
    return at;
}

}  // namespace

bool referencesAreKnown(std::string_view document) {
    for (size_t at = document.find('&'); at != none; at = document.find('&', at + 1)) {
        if (!readReference(document.substr(at))) {
            return referencesAreKnownOutsideLiterals(document);
        }
    }
    return true;
}

bool isUtf8WithoutZero(std::string_view document) {
    while (!document.empty()) {
        document.remove_prefix(plainPrefix(document));
        // Up to the next place where a character can begin.
        size_t end = std::min<size_t>(document.size(), sizeof(std::uint64_t));
        while (end < document.size() &&
               (static_cast<unsigned char>(document[end]) & 0xC0) == 0x80) {
            ++end;
        }
        const std::string_view piece = document.substr(0, end);
        if (piece.find('\0') != none || !isValidUtf8(piece)) return false;
        document.remove_prefix(end);
    }
    return true;
}

}  // namespace larkspan
