#include "changes/CharacterReference.h"

#include "foundation/Text.h"

#include <array>
#include <charconv>

namespace larkspan {
namespace {

constexpr char32_t lastCharacter = 0x10FFFF;

bool isHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// Any number, so that halves of pairs can be put together.
std::optional<CharacterReference> readNumber(std::string_view text) {
    if (!text.starts_with("&#")) return std::nullopt;
    const bool isHexadecimal = text.substr(2).starts_with('x');
    const size_t digits = isHexadecimal ? 3 : 2;
    const std::string_view number = text.substr(std::min(digits, text.size()));
    std::uint32_t value = 0;
    const char* end = number.data() + number.size();
    const auto [stop, problem] =
        std::from_chars(number.data(), end, value, isHexadecimal ? 16 : 10);
    if (problem != std::errc() || stop == end || *stop != ';') return std::nullopt;
    if (value == 0 || value > lastCharacter) return std::nullopt;
    return CharacterReference{value, static_cast<size_t>(stop - text.data()) + 1};
}

std::optional<CharacterReference> readPair(std::string_view text) {
    const auto high = readNumber(text);
    if (!high || !isHighSurrogate(high->character)) return std::nullopt;
    const auto low = readNumber(text.substr(high->length));
    if (!low || !isLowSurrogate(low->character)) return std::nullopt;
    const char32_t character =
        0x10000 + ((high->character - 0xD800) << 10) + (low->character - 0xDC00);
    return CharacterReference{character, high->length + low->length};
}

std::optional<CharacterReference> readEntity(std::string_view text) {
    struct Entity {
        std::string_view spelling;
        char32_t character;
    };
    constexpr std::array entities = {Entity{"&amp;", U'&'}, Entity{"&lt;", U'<'},
                                     Entity{"&gt;", U'>'}, Entity{"&quot;", U'"'},
                                     Entity{"&apos;", U'\''}};
    for (const auto& [spelling, character] : entities) {
        if (text.starts_with(spelling)) return CharacterReference{character, spelling.size()};
    }
    return std::nullopt;
}

}  // namespace

std::optional<CharacterReference> readCharacterReference(std::string_view text) {
    const auto reference = readNumber(text);
    if (!reference) return std::nullopt;
    const bool isHalf =
        isHighSurrogate(reference->character) || isLowSurrogate(reference->character);
    return isHalf ? std::nullopt : reference;
}

std::optional<CharacterReference> readReference(std::string_view text) {
    const auto entity = readEntity(text);
    return entity ? entity : readCharacterReference(text);
}

std::optional<std::string> resolvingReferences(std::string_view text) {
    std::string resolved;
    while (!text.empty()) {
        if (text.front() != '&') {
            const std::string_view plain = text.substr(0, text.find('&'));
            resolved += plain;
            text.remove_prefix(plain.size());
            continue;
        }
        auto reference = readEntity(text);
        if (!reference) reference = readPair(text);
        if (!reference) reference = readCharacterReference(text);
        if (!reference) return std::nullopt;
        appendUtf8(resolved, reference->character);
        text.remove_prefix(reference->length);
    }
    return resolved;
}

}  // namespace larkspan
