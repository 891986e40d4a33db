#include "changes/PlainReader.h"

#include "changes/CharacterReference.h"
#include "changes/NodeTableBuilder.h"
#include "foundation/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace larkspan {
namespace {

constexpr size_t none = std::string_view::npos;
constexpr size_t longestReference = 64;

// What a byte may be, as bits.
enum Class : std::uint8_t {
    space = 1,
    nameStart = 2,
    namePart = 4,
    endsText = 8,       // what a text cannot simply be copied beyond
    endsAttribute = 16  // the same for an attribute's value
};

constexpr std::array<std::uint8_t, 256> classes = [] {
    std::array<std::uint8_t, 256> table = {};
    const auto add = [&](std::string_view bytes, unsigned what) {
        for (const char c : bytes) {
            std::uint8_t& entry = table[static_cast<unsigned char>(c)];
            entry = static_cast<std::uint8_t>(entry | what);
        }
    };
    add(" \t\r\n", space);
    add("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_:", nameStart | namePart);
    add("0123456789-.", namePart);
    for (size_t c = 0x80; c < table.size(); ++c) table[c] = nameStart | namePart;
    add(std::string_view("\0<&\r", 4), endsText);
    add(std::string_view("\0<&\r\n\t\"'", 8), endsAttribute);
    return table;
}();

bool is(char c, Class what) {
    return (classes[static_cast<unsigned char>(c)] & what) != 0;
}

class PlainReader {
  public:
    PlainReader(TextWindow& text, size_t deepestLevel, NodeTable& table)
        : text_(text),
          builder_(table),
          deepestLevel_(deepestLevel),
          at_(text.begin()),
          end_(text.end()) {}

    bool read() {
        if (!text_.isSound()) return false;
        passProlog();
        while (passToMarkup()) {
            // A tag that is longer than that is for the library.
            if (rest().size() < text_.sizeAhead()) (void)readOn();
            if (!readMarkup()) return false;
        }
        builder_.finish();
        return at_ == end_ && hasRoot_ && builder_.level() == 0 && text_.isSound();
    }

  private:
    std::string_view rest() const { return {at_, static_cast<size_t>(end_ - at_)}; }
    bool readOn() {
        const bool isThereMore = text_.readOn(at_);
        end_ = text_.end();
        return isThereMore;
    }

    // To the next "<", past white space or a text in an element; false where there is none. What
    // goes on behind the window is read afresh.
    bool passToMarkup() {
        while (true) {
            const char* before = at_;
            passSpace();
            if (*at_ == '<') return true;
            if (at_ != end_) {
                if (builder_.level() == 0) return false;
                at_ = before;
                if (readText()) return true;
                if (rest().size() > longestReference) return false;
            }
            const char* stopped = at_;
            at_ = before;
            if (readOn()) continue;
            at_ = stopped;
            return false;
        }
    }
    void passSpace() {
        while (is(*at_, space)) ++at_;
    }
    bool pass(char expected) {
        if (*at_ != expected) return false;
        ++at_;
        return true;
    }

    bool passText(std::string_view expected) {
        if (!rest().starts_with(expected)) return false;
        at_ += expected.size();
        return true;
    }

    // The byte-order mark and a declaration that names no other encoding; what is not passed is
    // refused later.
    void passProlog() {
        constexpr std::string_view start = "<?xml";
        (void)passText("\xEF\xBB\xBF");
        if (!rest().starts_with(start) || !is(at_[start.size()], space)) return;
        const size_t size = rest().find("?>");
        if (size == none) return;
        const std::string_view declaration = rest().substr(0, size);
        if (!namesUtf8(declaration)) return;
        at_ += size + 2;
    }

    // Also when it names no encoding.
    static bool namesUtf8(std::string_view declaration) {
        const size_t at = declaration.find("en");
        if (at == none) return true;
        const std::string encoding = lowercased(declaration.substr(at));
        return encoding.starts_with("encoding=\"utf-8\"") ||
               encoding.starts_with("encoding='utf-8'");
    }

    bool readMarkup() {
        ++at_;
        if (is(*at_, nameStart)) return readStartTag();
        if (pass('/')) return readEndTag();
        if (pass('?')) return readInstruction();
        if (passText("!--")) return readLiteral(NodeKind::comment, "-->");
        if (passText("![CDATA[")) {
            return builder_.level() > 0 && readLiteral(NodeKind::characterData, "]]>");
        }
        return readDocumentType();
    }

    std::string_view readName() {
        const char* start = at_;
        while (is(*at_, namePart)) ++at_;
        return {start, static_cast<size_t>(at_ - start)};
    }

    bool readStartTag() {
        if (builder_.level() == 0) {
            if (hasRoot_) return false;
            hasRoot_ = true;
        }
        builder_.openElement(readName());
        if (builder_.level() > deepestLevel_) return false;
        while (is(*at_, space)) {
            passSpace();
            if (is(*at_, nameStart) && !readAttribute()) return false;
        }
        if (pass('/')) builder_.closeElement();
        return pass('>');
    }

    bool readEndTag() {
        if (builder_.level() == 0) return false;
        const std::string_view name = builder_.openName();
        if (!rest().starts_with(name)) return false;
        at_ += name.size();
        passSpace();
        builder_.closeElement();
        return pass('>');
    }

    bool readAttribute() {
        const std::string_view name = readName();
        passSpace();
        if (!pass('=')) return false;
        passSpace();
        const char quote = *at_;
        if (quote != '"' && quote != '\'') return false;
        ++at_;
        const char* start = at_;
        while (!is(*at_, endsAttribute)) ++at_;
        if (*at_ == quote) {
            builder_.addAttribute(name, {start, static_cast<size_t>(at_ - start)});
        } else {
            scratch_.assign(start, at_);
            if (!readRest(endsAttribute, quote)) return false;
            builder_.addAttribute(name, scratch_);
        }
        ++at_;
        return true;
    }

    bool readText() {
        const char* start = at_;
        while (!is(*at_, endsText)) ++at_;
        if (*at_ == '<') {
            builder_.addText({start, static_cast<size_t>(at_ - start)});
            return true;
        }
        scratch_.assign(start, at_);
        if (!readRest(endsText, '<')) return false;
        builder_.addText(scratch_);
        return true;
    }

    // Appends to the scratch text what there is up to `end`, as a text or an attribute says it.
    bool readRest(Class ends, char end) {
        while (*at_ != end) {
            const char c = *at_;
            if (c == '\0' || c == '<') return false;
            if (c == '&') {
                if (!readReference()) return false;
                continue;
            }
            if (is(c, space)) {
                if (c == '\r' && at_[1] == '\n') ++at_;
                scratch_ += ends == endsAttribute ? ' ' : c == '\r' ? '\n' : c;
            } else {
                scratch_ += c;
            }
            ++at_;
            const char* start = at_;
            while (!is(*at_, ends)) ++at_;
            scratch_.append(start, at_);
        }
        return true;
    }

    bool readReference() {
        const auto reference = larkspan::readReference(rest());
        if (!reference) return false;
        appendUtf8(scratch_, reference->character);
        at_ += reference->length;
        return true;
    }

    // Up to the end that it has, which must be in the window.
    bool readLiteral(NodeKind kind, std::string_view end) {
        const size_t size = rest().find(end);
        if (size == none) return false;
        scratch_.clear();
        for (std::string_view text = rest().substr(0, size); !text.empty();) {
            const size_t line = std::min(text.find('\r'), text.size());
            scratch_ += text.substr(0, line);
            text.remove_prefix(line);
            if (text.empty()) break;
            scratch_ += '\n';
            text.remove_prefix(text.starts_with("\r\n") ? 2 : 1);
        }
        builder_.addLeaf(kind, {}, scratch_);
        at_ += size + end.size();
        return true;
    }

    bool readInstruction() {
        if (!is(*at_, nameStart)) return false;
        const std::string_view target = readName();
        if (lowercased(target) == "xml") return false;
        if (is(*at_, space)) {
            passSpace();
        } else if (!rest().starts_with("?>")) {
            return false;
        }
        const size_t size = rest().find("?>");
        if (size == none) return false;
        builder_.addLeaf(NodeKind::instruction, target, rest().substr(0, size));
        at_ += size + 2;
        return true;
    }

    // One that says a name and nothing else.
    bool readDocumentType() {
        if (hasRoot_ || !passText("!DOCTYPE")) return false;
        if (!is(*at_, space)) return false;
        passSpace();
        (void)readName();
        passSpace();
        return pass('>');
    }

    TextWindow& text_;
    NodeTableBuilder builder_;
    size_t deepestLevel_;
    const char* at_;
    const char* end_;
    bool hasRoot_ = false;
    std::string scratch_;
};

}  // namespace

bool readPlain(TextWindow& text, size_t deepestLevel, NodeTable& table) {
    return PlainReader(text, deepestLevel, table).read();
}

}  // namespace larkspan
