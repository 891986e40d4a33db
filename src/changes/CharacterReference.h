#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace larkspan {

// A reference such as "&#233;", "&#xE9;" or "&amp;".
struct CharacterReference {
    char32_t character = 0;
    size_t length = 0;  // bytes that it takes
};

// The numeric reference that the text begins with; empty when it begins with none, or with one for
// a character that there is not (0, halves of surrogate pairs, beyond U+10FFFF).
std::optional<CharacterReference> readCharacterReference(std::string_view text);

// That, or one of XML's five entities.
std::optional<CharacterReference> readReference(std::string_view text);

// The text with numeric references and XML's five entities resolved. Two references that stand for
// the halves of a surrogate pair give the one character. Empty when an "&" begins no reference.
std::optional<std::string> resolvingReferences(std::string_view text);

}  // namespace larkspan
