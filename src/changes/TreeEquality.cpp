#include "changes/TreeEquality.h"

#include <string>
#include <string_view>

namespace larkspan {
namespace {

bool haveEqualAttributes(TreeNode one, TreeNode other) {
    const auto ones = one.attributes();
    const auto others = other.attributes();
    if (ones.size() != others.size()) return false;
    bool inSameOrder = true;
    auto right = others.begin();
    for (const TreeAttribute left : ones) {
        inSameOrder = inSameOrder && xmltree::areSame(left.name(), (*right).name()) &&
                      xmltree::areSame(left.value(), (*right).value());
        ++right;
    }
    if (inSameOrder) return true;
    for (const TreeAttribute attribute : ones) {
        const auto same = other.attribute(attribute.name());
        if (!same || std::string_view(same.value()) != attribute.value()) return false;
    }
    return true;
}

// A run of neighbouring texts, from `first` on, put together with what stands before it; `first`
// becomes the node behind the run.
std::string gatheredText(std::string_view before, TreeNode& first) {
    std::string text(before);
    for (; first.isText(); first = first.nextSibling()) text += first.value();
    return text;
}

// Both at the same place of their documents, from which they go on together.
class Cursors {
  public:
    Cursors(TreeNode one, TreeNode other) : one_(one), other_(other) {}

    bool isAtEnd() const { return isAtEnd_; }

    // Compares the nodes themselves and steps to what comes next in both. False when the documents
    // differ here.
    bool compareAndStep() {
        if (one_.kind() != other_.kind()) return false;
        if (!xmltree::areSame(one_.name(), other_.name())) return false;
        if (!one_.isElement() && !one_.isDocument()) {
            if (std::string_view(one_.value()) != other_.value()) return false;
        } else if (!haveEqualAttributes(one_, other_)) {
            return false;
        }
        return enterBoth();
    }

  private:
    // To the first children, past the texts before them, which must be equal.
    bool enterBoth() {
        auto left = one_.firstChild();
        auto right = other_.firstChild();
        const bool isElement = one_.isElement();
        if (!passTexts(isElement ? one_.value() : "", left, isElement ? other_.value() : "",
                       right)) {
            return false;
        }
        return settle(left, right);
    }

    static bool passTexts(std::string_view before, TreeNode& left, std::string_view otherBefore,
                          TreeNode& right) {
        if (!left.isText() && !right.isText()) return before == otherBefore;
        return gatheredText(before, left) == gatheredText(otherBefore, right);
    }

    // Stands at the given nodes or, where both are missing, behind the nearest parents that have
    // something behind them.
    bool settle(TreeNode left, TreeNode right) {
        while (!left && !right) {
            if (one_.isDocument()) {
                isAtEnd_ = true;
                return true;
            }
            left = one_.nextSibling();
            right = other_.nextSibling();
            one_ = one_.parent();
            other_ = other_.parent();
            if (!passTexts("", left, "", right)) return false;
        }
        if (!left || !right) return false;
        one_ = left;
        other_ = right;
        return true;
    }

    TreeNode one_;
    TreeNode other_;
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
