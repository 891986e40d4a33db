#include "foundation/PropertyList.h"
#include "foundation/PropertyListCheck.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace larkspan {
namespace {

constexpr std::string_view blanks = " \t\r\n";
constexpr auto npos = std::string_view::npos;

// libplist moves the rest of a text for every entity in it; this many moved bytes take about half
// a second.
constexpr std::uint64_t mostMovedBytes = std::uint64_t{1} << 32;

enum class Element { plist, dict, array, key, scalar, unknown };

Element elementNamed(std::string_view name) {
    static constexpr std::array<std::pair<std::string_view, Element>, 11> known{{
        {"string", Element::scalar},
        {"key", Element::key},
        {"dict", Element::dict},
        {"array", Element::array},
        {"integer", Element::scalar},
        {"true", Element::scalar},
        {"false", Element::scalar},
        {"real", Element::scalar},
        {"date", Element::scalar},
        {"data", Element::scalar},
        {"plist", Element::plist},
    }};
    const auto* found = std::find_if(known.begin(), known.end(),
                                     [&](const auto& one) { return one.first == name; });
    return found == known.end() ? Element::unknown : found->second;
}

class XmlCheck {
  public:
    explicit XmlCheck(std::string_view text) : text_(text) {}

    // What is wrong, as a sentence; "" when nothing is.
    std::string problem() {
        if (text_.find('\0') != npos) return "The property list holds zero bytes.";
        while (problem_.empty() && skipBlanks()) step();
        if (!problem_.empty()) return problem_;
        if (!open_.empty()) return "The property list ends inside an element.";
        if (!rootSeen_) return "The property list holds no value.";
        return {};
    }

  private:
    struct Container {
        Element element;
        bool valueWanted = false;  // a dictionary's key has been read
    };

    bool skipBlanks() {
        at_ = std::min(text_.find_first_not_of(blanks, at_), text_.size());
        return at_ < text_.size();
    }
    bool startsWith(std::string_view what) const { return text_.substr(at_).starts_with(what); }
    void fail(const char* why) {
        if (problem_.empty()) problem_ = why;
    }

    // Goes past the next `end`, looking from `from` on; gives what stood before it.
    std::string_view passUntil(std::string_view end, size_t from) {
        const size_t found = text_.find(end, from);
        if (found == npos) {
            fail("The property list is cut off.");
            return {};
        }
        at_ = found + end.size();
        return text_.substr(from, found - from);
    }

    // libplist takes quoted text as a whole, so an end inside quotes would be no end for it.
    void requireEvenQuotes(std::string_view text) {
        if (std::count(text.begin(), text.end(), '"') % 2 != 0)
            fail("A quotation mark is missing.");
    }

    void step() {
        if (text_[at_] != '<') {
            fail("There is text where an element should be.");
        } else if (startsWith("<?")) {
            requireEvenQuotes(passUntil("?>", at_ + 2));
        } else if (startsWith("<!--")) {
            (void)passUntil("-->", at_ + 4);
        } else if (startsWith("<!DOCTYPE")) {
            const std::string_view content = passUntil(">", at_ + 9);
            requireEvenQuotes(content);
            if (content.find_first_of("[<") != npos)
                fail("Declarations of its own are not allowed.");
        } else {
            readTag();
        }
    }

    void readTag() {
        std::string_view tag = passUntil(">", at_ + 1);
        requireEvenQuotes(tag);
        if (tag.find('<') != npos) return fail("A tag is not closed.");
        const bool isEmpty = tag.ends_with('/');
        if (isEmpty) tag.remove_suffix(1);
        const std::string_view name = tag.substr(0, tag.find_first_of(blanks));
        if (!name.starts_with('/')) {
            openElement(name, isEmpty);
        } else if (isEmpty) {
            fail("A closing tag is malformed.");
        } else {
            closeElement(elementNamed(name.substr(1)));
        }
    }

    void openElement(std::string_view name, bool isEmpty) {
        const Element element = elementNamed(name);
        if (element == Element::unknown) return fail("There is an element of unknown name.");
        if (!place(element, isEmpty)) return fail("There is an element in the wrong place.");
        if (++count_ > mostPropertyListValues) return fail("There are too many values.");
        const bool isContainer = element != Element::key && element != Element::scalar;
        if (!isContainer) {
            if (!isEmpty) readContent(name);
            return;
        }
        if (isEmpty) return;
        open_.push_back({element});
        const bool wrapped = open_.front().element == Element::plist;
        if (std::cmp_greater(open_.size(), deepestPropertyList + (wrapped ? 1 : 0))) {
            fail("The values are nested too deeply.");
        }
    }

    // Whether the element may stand here; notes that it does.
    bool place(Element element, bool isEmpty) {
        if (element == Element::plist) return open_.empty() && !rootSeen_ && !isEmpty;
        if (open_.empty() || open_.back().element == Element::plist) {
            return element != Element::key && !std::exchange(rootSeen_, true);
        }
        Container& parent = open_.back();
        if (parent.element == Element::array) return element != Element::key;
        parent.valueWanted = !parent.valueWanted;
        return (element == Element::key) == parent.valueWanted;
    }

    void closeElement(Element element) {
        if (open_.empty() || open_.back().element != element) {
            return fail("A closing tag does not fit.");
        }
        if (open_.back().valueWanted) return fail("A key has no value.");
        open_.pop_back();
        if (!rootSeen_) fail("The property list holds no value.");
    }

    // The text of an element up to and with its closing tag.
    void readContent(std::string_view name) {
        std::uint64_t moved = 0;
        while (problem_.empty()) {
            const std::string_view text = passUntil("<", at_);
            const auto entities =
                static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '&'));
            moved += entities * text.size();
            --at_;
            if (moved > mostMovedBytes) return fail("A text holds too many entities.");
            if (startsWith("<!--")) {
                (void)passUntil("-->", at_ + 4);
            } else if (startsWith("<![CDATA[")) {
                (void)passUntil("]]>", at_ + 9);
            } else if (startsWith("</")) {
                return requireEndTag(passUntil(">", at_ + 2), name);
            } else {
                return fail("There is an element inside a text.");
            }
        }
    }

    void requireEndTag(std::string_view tag, std::string_view name) {
        const bool fits =
            tag.starts_with(name) && tag.find_first_not_of(blanks, name.size()) == npos;
        if (!fits) fail("A closing tag does not fit.");
    }

    std::string_view text_;
    size_t at_ = 0;
    size_t count_ = 0;
    bool rootSeen_ = false;
    std::vector<Container> open_;
    std::string problem_;
};

}  // namespace

std::optional<Error> checkXmlPropertyList(std::string_view text) {
    std::string problem = XmlCheck(text).problem();
    if (problem.empty()) return {};
    return propertyListError(std::move(problem));
}

}  // namespace larkspan
