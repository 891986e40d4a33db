#include "foundation/XMLCheck.h"

#include "foundation/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <string>
#include <vector>

namespace larkspan {
namespace {

constexpr std::string_view blanks = " \t\r\n";
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr auto npos = std::string_view::npos;

bool isBlank(char c) {
    return blanks.find(c) != npos;
}
bool startsName(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           c == '_' || c == ':';
}
bool continuesName(char c) {
    return startsName(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

// The characters that a document may hold, given as code points.
bool isCharacter(std::uint32_t code) {
    if (code < 0x20) return code == '\t' || code == '\n' || code == '\r';
    return code <= 0xD7FF || (code >= 0xE000 && code <= 0xFFFD) ||
           (code >= 0x10000 && code <= 0x10FFFF);
}

class Check {
  public:
    explicit Check(std::string_view text) : text_(text) {
        if (text_.starts_with(byteOrderMark)) at_ = byteOrderMark.size();
        start_ = at_;
    }

    std::optional<Error> run() {
        if (!isValidUtf8(text_)) fail("The text is not UTF-8.");
        checkCharacters();
        while (problem_.empty() && at_ < text_.size()) step();
        if (problem_.empty() && !open_.empty()) fail("The document is cut off.");
        if (problem_.empty() && !rootSeen_) fail("There is no element.");
        if (problem_.empty()) return {};
        const auto line = std::count(text_.begin(), text_.begin() + static_cast<long>(at_), '\n');
        return Error{xmlErrorDomain, 1, "Line " + std::to_string(line + 1) + ": " + problem_};
    }

  private:
    void fail(const char* why) {
        if (problem_.empty()) problem_ = why;
    }
    bool startsWith(std::string_view what) const { return text_.substr(at_).starts_with(what); }
    char here() const { return at_ < text_.size() ? text_[at_] : '\0'; }
    void skipBlanks() { at_ = std::min(text_.find_first_not_of(blanks, at_), text_.size()); }

    // Goes past the next `end`, and gives what stood before it.
    std::string_view passUntil(std::string_view end) {
        const size_t found = text_.find(end, at_);
        if (found == npos) {
            fail("The document is cut off.");
            at_ = text_.size();
            return {};
        }
        const auto passed = text_.substr(at_, found - at_);
        at_ = found + end.size();
        return passed;
    }

    void checkCharacters() {
        for (size_t i = 0; i < text_.size() && problem_.empty(); ++i) {
            const auto byte = static_cast<unsigned char>(text_[i]);
            const bool isControl = byte < 0x20 && !isBlank(text_[i]);
            // U+FFFE and U+FFFF.
            const bool isNone = byte == 0xEF && (text_.substr(i).starts_with("\xEF\xBF\xBE") ||
                                                 text_.substr(i).starts_with("\xEF\xBF\xBF"));
            if (isControl || isNone) {
                at_ = i;
                fail("There is a character that XML does not allow.");
            }
        }
    }

    void step() {
        if (here() != '<') return passText();
        if (startsWith("<!--")) return passComment();
        if (startsWith("<![CDATA[")) return passCdata();
        if (startsWith("<!DOCTYPE")) return passDoctype();
        if (startsWith("<?")) return passInstruction();
        if (startsWith("</")) return passEndTag();
        passStartTag();
    }

    void passText() {
        const size_t end = std::min(text_.find('<', at_), text_.size());
        const auto passed = text_.substr(at_, end - at_);
        if (open_.empty() && passed.find_first_not_of(blanks) != npos) {
            return fail("There is text outside the document's element.");
        }
        if (passed.find("]]>") != npos) return fail("There is \"]]>\" in a text.");
        checkReferences(passed);
        if (problem_.empty()) at_ = end;
    }

    void passComment() {
        at_ += 4;
        passUntil("--");
        if (problem_.empty() && here() != '>') return fail("There is \"--\" in a comment.");
        ++at_;
    }

    void passCdata() {
        if (open_.empty()) return fail("There is text outside the document's element.");
        passUntil("]]>");
    }

    void passInstruction() {
        const bool isAtStart = at_ == start_;
        at_ += 2;
        const std::string_view name = passName();
        if (lowercased(std::string(name)) == "xml" && !isAtStart) {
            return fail("The declaration is not at the start.");
        }
        passUntil("?>");
    }

    void passDoctype() {
        if (rootSeen_ || doctypeSeen_) return fail("A DOCTYPE is out of place.");
        doctypeSeen_ = true;
        int depth = 0;
        while (problem_.empty() && at_ < text_.size()) {
            const char c = here();
            if (startsWith("<!--")) {
                passComment();
                continue;
            }
            ++at_;
            if (c == '"' || c == '\'') passUntil(std::string_view(&c, 1));
            if (c == '[') declaresEntities_ = true;
            if (c == '<') ++depth;
            if (c == '>' && --depth == 0) return;
        }
        fail("The document is cut off.");
    }

    std::string_view passName() {
        const size_t from = at_;
        if (!startsName(here())) {
            fail("A name is missing.");
            return {};
        }
        while (at_ < text_.size() && continuesName(text_[at_])) ++at_;
        return text_.substr(from, at_ - from);
    }

    void passEndTag() {
        at_ += 2;
        const std::string_view name = passName();
        skipBlanks();
        if (!problem_.empty()) return;
        if (here() != '>') return fail("An end tag is not closed.");
        if (open_.empty() || open_.back() != name) return fail("An end tag has no start tag.");
        open_.pop_back();
        ++at_;
    }

    void passStartTag() {
        if (open_.empty() && rootSeen_) return fail("There is a second element at the top.");
        ++at_;
        rootSeen_ = true;
        const std::string_view name = passName();
        attributes_.clear();
        while (problem_.empty()) {
            const bool hasBlank = isBlank(here());
            skipBlanks();
            if (here() == '>' || here() == '/') break;
            if (!hasBlank) return fail("A start tag is broken.");
            passAttribute();
        }
        if (!problem_.empty()) return;
        std::sort(attributes_.begin(), attributes_.end());
        if (std::adjacent_find(attributes_.begin(), attributes_.end()) != attributes_.end()) {
            return fail("An attribute stands twice in a tag.");
        }
        const bool isEmpty = here() == '/';
        if (isEmpty) ++at_;
        if (here() != '>') return fail("A start tag is not closed.");
        ++at_;
        if (!isEmpty) open_.push_back(name);
    }

    void passAttribute() {
        attributes_.push_back(passName());
        skipBlanks();
        if (here() != '=') return fail("An attribute has no value.");
        ++at_;
        skipBlanks();
        const char quote = here();
        if (quote != '"' && quote != '\'') return fail("An attribute's value is not quoted.");
        ++at_;
        const std::string_view value = passUntil(std::string_view(&quote, 1));
        if (value.find('<') != npos) return fail("There is \"<\" in an attribute's value.");
        checkReferences(value);
    }

    void checkReferences(std::string_view text) {
        for (size_t at = text.find('&'); at != npos; at = text.find('&', at + 1)) {
            const size_t end = text.find(';', at);
            if (end == npos || !isReference(text.substr(at + 1, end - at - 1))) {
                at_ = static_cast<size_t>(text.data() - text_.data()) + at;
                return fail("There is an \"&\" that begins no reference.");
            }
        }
    }

    bool isReference(std::string_view name) const {
        static constexpr std::array<std::string_view, 5> predefined{"amp", "lt", "gt", "quot",
                                                                    "apos"};
        if (name.starts_with('#')) return isCharacterReference(name.substr(1));
        if (std::find(predefined.begin(), predefined.end(), name) != predefined.end()) return true;
        return declaresEntities_ && !name.empty() && startsName(name.front()) &&
               std::all_of(name.begin(), name.end(), continuesName);
    }

    static bool isCharacterReference(std::string_view digits) {
        constexpr int decimal = 10;
        constexpr int hexadecimal = 16;
        const int base = digits.starts_with('x') ? hexadecimal : decimal;
        if (base == hexadecimal) digits.remove_prefix(1);
        std::uint32_t code = 0;
        const char* end = digits.data() + digits.size();
        const auto read = std::from_chars(digits.data(), end, code, base);
        return read.ec == std::errc() && read.ptr == end && isCharacter(code);
    }

    std::string_view text_;
    size_t start_ = 0;
    size_t at_ = 0;
    std::string problem_;
    std::vector<std::string_view> open_;
    std::vector<std::string_view> attributes_;
    bool rootSeen_ = false;
    bool doctypeSeen_ = false;
    bool declaresEntities_ = false;
};

}  // namespace

std::optional<Error> checkXML(std::string_view text) {
    return Check(text).run();
}

}  // namespace larkspan
