#include "changes/TreeEquality.h"

#include <string>
#include <string_view>

namespace larkspan {
namespace {

bool haveEqualAttributes(pugi::xml_node one, pugi::xml_node other) {
    auto left = one.first_attribute();
    auto right = other.first_attribute();
    bool inSameOrder = true;
    for (; left && right; left = left.next_attribute(), right = right.next_attribute()) {
        inSameOrder = inSameOrder && std::string_view(left.name()) == right.name() &&
                      std::string_view(left.value()) == right.value();
    }
    if (left || right) return false;
    if (inSameOrder) return true;
    for (const pugi::xml_attribute attribute : one.attributes()) {
        const auto same = other.attribute(attribute.name());
        if (!same || std::string_view(same.value()) != attribute.value()) return false;
    }
    return true;
}

// A run of neighbouring texts, from `first` on, put together with what stands before it; `first`
// becomes the node behind the run.
std::string gatheredText(std::string_view before, pugi::xml_node& first) {
    std::string text(before);
    for (; xmltree::isText(first); first = first.next_sibling()) text += first.value();
    return text;
}

// Both at the same place of their documents, from which they go on together.
class Cursors {
  public:
    Cursors(pugi::xml_node one, pugi::xml_node other) : one_(one), other_(other) {}

    bool isAtEnd() const { return isAtEnd_; }

    // Compares the nodes themselves and steps to what comes next in both. False when the documents
    // differ here.
    bool compareAndStep() {
        if (one_.type() != other_.type()) return false;
        if (std::string_view(one_.name()) != other_.name()) return false;
        if (!xmltree::isElement(one_) && one_.type() != pugi::node_document) {
            if (std::string_view(one_.value()) != other_.value()) return false;
        } else if (!haveEqualAttributes(one_, other_)) {
            return false;
        }
        return enterBoth();
    }

  private:
    // To the first children, past the texts before them, which must be equal.
    bool enterBoth() {
        auto left = one_.first_child();
        auto right = other_.first_child();
        const bool isElement = xmltree::isElement(one_);
        if (!passTexts(isElement ? one_.value() : "", left, isElement ? other_.value() : "",
                       right)) {
            return false;
        }
        return settle(left, right);
    }

    static bool passTexts(std::string_view before, pugi::xml_node& left,
                          std::string_view otherBefore, pugi::xml_node& right) {
        if (!xmltree::isText(left) && !xmltree::isText(right)) return before == otherBefore;
        return gatheredText(before, left) == gatheredText(otherBefore, right);
    }

    // Stands at the given nodes or, where both are missing, behind the nearest parents that have
    // something behind them.
    bool settle(pugi::xml_node left, pugi::xml_node right) {
        while (!left && !right) {
            if (one_.type() == pugi::node_document) {
                isAtEnd_ = true;
                return true;
            }
            left = one_.next_sibling();
            right = other_.next_sibling();
            one_ = one_.parent();
            other_ = other_.parent();
            if (!passTexts("", left, "", right)) return false;
        }
        if (!left || !right) return false;
        one_ = left;
        other_ = right;
        return true;
    }

    pugi::xml_node one_;
    pugi::xml_node other_;
    bool isAtEnd_ = false;
};

}  // namespace

bool areEqualTrees(const XMLDocument& one, const XMLDocument& other) {
    Cursors cursors(one.top(), other.top());
    while (!cursors.isAtEnd()) {
        if (!cursors.compareAndStep()) return false;
    }
    return true;
}

}  // namespace larkspan
