#include "foundation/Text.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include <locale.h>
#include <wctype.h>

namespace larkspan {
namespace {

constexpr std::string_view blanks = " \t\n\v\f\r";
constexpr char32_t strayByte = 0xFFFFFFFF;

struct Decoded {
    char32_t codePoint;  // strayByte when the bytes are not UTF-8
    size_t length;       // bytes taken, 1 for a stray byte
};

Decoded decodeFirst(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return {lead, 1};
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {strayByte, 1};
    char32_t point = lead & (0xFFU >> (length + 1));
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {strayByte, 1};
        point = (point << 6) | (byte(i) & 0x3FU);
    }
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = point >= 0xD800 && point <= 0xDFFF;
    if (point < smallest[length] || point > 0x10FFFF || surrogate) return {strayByte, 1};
    return {point, length};
}

// Case rules that do not follow the user's locale.
locale_t caseLocale() {
    static const locale_t locale = [] {
        for (const char* name : {"C.UTF-8", "en_US.UTF-8", "UTF-8"}) {
            if (locale_t found = newlocale(LC_CTYPE_MASK, name, nullptr)) return found;
        }
        return newlocale(LC_CTYPE_MASK, "C", nullptr);
    }();
    return locale;
}

char32_t lowerCase(char32_t point) {
    if (point < 0x80) return point >= 'A' && point <= 'Z' ? point + 32 : point;
    return static_cast<char32_t>(towlower_l(static_cast<wint_t>(point), caseLocale()));
}

char32_t upperCase(char32_t point) {
    if (point < 0x80) return point >= 'a' && point <= 'z' ? point - 32 : point;
    return static_cast<char32_t>(towupper_l(static_cast<wint_t>(point), caseLocale()));
}

bool isAscii(std::string_view text) {
    // Without a way out in the middle, so that many bytes are looked at together.
    unsigned char all = 0;
    for (const char c : text) all |= static_cast<unsigned char>(c);
    return all < 0x80;
}

bool isControl(std::string_view text, size_t at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (byte < 0x20 || byte == 0x7f) return true;
    // U+0080 to U+009F, which terminals obey as well.
    return byte == 0xc2 && at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xa0;
}

bool isBreak(char c) {
    return c == '\n' || c == '\r' || c == '\t';
}

}  // namespace

std::string_view trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string withUpperFirst(std::string_view text) {
    std::string out;
    if (text.empty()) return out;
    const Decoded first = decodeFirst(text);
    if (first.codePoint == strayByte) return std::string(text);
    appendUtf8(out, upperCase(first.codePoint));
    return out.append(text.substr(first.length));
}

std::string lowercased(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const Decoded next = decodeFirst(text);
        if (next.codePoint == strayByte) {
            out.push_back(text.front());
        } else {
            appendUtf8(out, lowerCase(next.codePoint));
        }
        text.remove_prefix(next.length);
    }
    return out;
}

int caseInsensitiveCompare(std::string_view a, std::string_view b) {
    const size_t common = std::min(a.size(), b.size());
    for (size_t i = 0; i < common; ++i) {
        // A character beyond ASCII takes part as a whole; what stands before it is equal.
        if (!isAscii(a.substr(i, 1)) || !isAscii(b.substr(i, 1))) {
            return lowercased(a.substr(i)).compare(lowercased(b.substr(i)));
        }
        const auto left = lowerCase(static_cast<unsigned char>(a[i]));
        const auto right = lowerCase(static_cast<unsigned char>(b[i]));
        if (left != right) return left < right ? -1 : 1;
    }
    return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

bool listingOrder(std::string_view a, std::string_view b) {
    const int order = caseInsensitiveCompare(a, b);
    return order != 0 ? order < 0 : a < b;
}

bool pathListingOrder(std::string_view a, std::string_view b) {
    const auto firstComponent = [](std::string_view& path) {
        const std::string_view component = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(component.size() + 1, path.size()));
        return component;
    };
    while (!a.empty() && !b.empty()) {
        const std::string_view componentOfA = firstComponent(a);
        const std::string_view componentOfB = firstComponent(b);
        if (componentOfA != componentOfB) return listingOrder(componentOfA, componentOfB);
    }
    return a.empty() && !b.empty();
}

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    for (;;) {
        const size_t end = text.find(separator);
        pieces.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) return pieces;
        text.remove_prefix(end + 1);
    }
}

std::string joined(const std::vector<std::string>& pieces, std::string_view separator) {
    std::string out;
    for (size_t i = 0; i < pieces.size(); ++i) {
        if (i > 0) out += separator;
        out += pieces[i];
    }
    return out;
}

std::string replacingAll(std::string_view text, std::string_view what, std::string_view with) {
    std::string out;
    for (;;) {
        const size_t found = what.empty() ? std::string_view::npos : text.find(what);
        out += text.substr(0, found);
        if (found == std::string_view::npos) return out;
        out += with;
        text.remove_prefix(found + what.size());
    }
}

long integerValue(std::string_view text) {
    text = trimmed(text);
    const bool negative = !text.empty() && text.front() == '-';
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    long value = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
    if (parsed.ec == std::errc::result_out_of_range) {
        return negative ? std::numeric_limits<long>::min() : std::numeric_limits<long>::max();
    }
    return value;
}

size_t characterCount(std::string_view text) {
    if (isAscii(text)) return text.size();
    size_t count = 0;
    for (; !text.empty(); ++count) text.remove_prefix(decodeFirst(text).length);
    return count;
}

bool isValidUtf8(std::string_view text) {
    while (!text.empty()) {
        const Decoded next = decodeFirst(text);
        if (next.codePoint == strayByte) return false;
        text.remove_prefix(next.length);
    }
    return true;
}

FirstCharacter firstCharacter(std::string_view text) {
    const Decoded first = decodeFirst(text);
    return {first.codePoint == strayByte ? U'\uFFFD' : first.codePoint, first.length};
}

void appendUtf8(std::string& out, char32_t point) {
    const auto put = [&](char32_t bits) { out.push_back(static_cast<char>(bits)); };
    if (point < 0x80) {
        put(point);
    } else if (point < 0x800) {
        put(0xC0 | (point >> 6));
        put(0x80 | (point & 0x3F));
    } else if (point < 0x10000) {
        put(0xE0 | (point >> 12));
        put(0x80 | ((point >> 6) & 0x3F));
        put(0x80 | (point & 0x3F));
    } else {
        put(0xF0 | (point >> 18));
        put(0x80 | ((point >> 12) & 0x3F));
        put(0x80 | ((point >> 6) & 0x3F));
        put(0x80 | (point & 0x3F));
    }
}

std::string sanitizedUtf8(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const Decoded next = decodeFirst(text);
        appendUtf8(out, next.codePoint == strayByte ? U'\uFFFD' : next.codePoint);
        text.remove_prefix(next.length);
    }
    return out;
}

std::u16string utf16CodeUnits(std::string_view text) {
    std::u16string units;
    units.reserve(text.size());
    while (!text.empty()) {
        const Decoded next = decodeFirst(text);
        const char32_t point = next.codePoint == strayByte ? U'\uFFFD' : next.codePoint;
        if (point < 0x10000) {
            units.push_back(static_cast<char16_t>(point));
        } else {
            units.push_back(static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10)));
            units.push_back(static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF)));
        }
        text.remove_prefix(next.length);
    }
    return units;
}

bool matchesWildcard(std::string_view text, std::string_view pattern) {
    size_t t = 0;
    size_t p = 0;
    size_t starAt = std::string_view::npos;
    size_t resumeAt = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            starAt = p++;
            resumeAt = t;
        } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == text[t])) {
            t += pattern[p] == '?' ? decodeFirst(text.substr(t)).length : 1;
            ++p;
        } else if (starAt != std::string_view::npos) {
            p = starAt + 1;
            resumeAt += decodeFirst(text.substr(resumeAt)).length;
            t = resumeAt;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*') ++p;
    return p == pattern.size();
}

std::string printable(std::string_view text) {
    const std::string valid = sanitizedUtf8(text);
    std::string safe;
    safe.reserve(valid.size());
    for (size_t at = 0; at < valid.size(); ++at) {
        if (isBreak(valid[at])) {
            const bool continues = at > 0 && isBreak(valid[at - 1]);
            if (!continues) safe += ' ';
            continue;
        }
        const bool control = isControl(valid, at);
        safe += control ? '?' : valid[at];
        if (control && static_cast<unsigned char>(valid[at]) == 0xc2) ++at;
    }
    return safe;
}

}  // namespace larkspan
