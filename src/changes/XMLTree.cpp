#include "changes/XMLTree.h"

namespace larkspan::xmltree {
namespace {

TreeNode elementBackFrom(TreeNode node) {
    while (node && !node.isElement()) node = node.previousSibling();
    return node;
}

bool isFirstOfItsName(TreeNode element) {
    return child(element.parent(), name(element)) == element;
}

// The texts of a subtree, one piece after the other.
class TextPieces {
  public:
    explicit TextPieces(TreeNode top) : top_(top), node_(top) {}

    // Null at the end; never an empty piece.
    const char* nextPiece() {
        while (node_) {
            const TreeNode node = node_;
            node_ = advanced(node);
            const bool counts = node.isElement() || node.isText();
            if (counts && *node.value() != '\0') return node.value();
        }
        return nullptr;
    }

  private:
    TreeNode advanced(TreeNode node) const {
        if (const auto first = node.firstChild()) return first;
        while (node != top_ && !node.nextSibling()) node = node.parent();
        return node == top_ ? TreeNode() : node.nextSibling();
    }

    TreeNode top_;
    TreeNode node_;
};

}  // namespace

bool hasAtMostOneChild(TreeNode element) {
    const auto first = element.firstChild();
    if (!first) return true;
    return !first.nextSibling() && *element.value() == '\0';
}

bool isLeaf(TreeNode element) {
    return !firstElement(element);
}

TreeNode previousElementSibling(TreeNode node) {
    return elementBackFrom(node.previousSibling());
}

TreeNode next(TreeNode element) {
    const auto first = firstElement(element);
    return first ? first : following(element);
}

TreeNode following(TreeNode element) {
    for (auto node = element; node; node = node.parent()) {
        const auto sibling = nextElementSibling(node);
        if (sibling) return sibling;
    }
    return {};
}

TreeNode previous(TreeNode element) {
    auto node = previousElementSibling(element);
    if (!node) return element.parent().isElement() ? element.parent() : TreeNode();
    while (const auto last = elementBackFrom(node.lastChild())) node = last;
    return node;
}

TreeNode nextWithin(TreeNode element, TreeNode top) {
    if (const auto first = firstElement(element)) return first;
    for (auto node = element; node && node != top; node = node.parent()) {
        if (const auto sibling = nextElementSibling(node)) return sibling;
    }
    return {};
}

TreeNode child(TreeNode parent, std::string_view childName) {
    auto node = firstElement(parent);
    while (node && name(node) != childName) node = nextElementSibling(node);
    return node;
}

TreeNode ancestor(TreeNode node, std::string_view ancestorName) {
    return ancestorOrSelf(node.parent(), ancestorName);
}

TreeNode ancestorOrSelf(TreeNode node, std::string_view ancestorName) {
    while (node && name(node) != ancestorName) node = node.parent();
    return node;
}

std::string stringValue(TreeNode node) {
    if (!node.firstChild()) return node.value();
    std::string value;
    TextPieces pieces(node);
    while (const char* piece = pieces.nextPiece()) value += piece;
    return value;
}

bool haveEqualStringValues(TreeNode one, TreeNode other) {
    if (!one.firstChild() && !other.firstChild()) {
        return areSame(one.value(), other.value());
    }
    TextPieces ones(one);
    TextPieces others(other);
    const char* left = ones.nextPiece();
    const char* right = others.nextPiece();
    while (left && right) {
        for (; *left != '\0' && *right != '\0'; ++left, ++right) {
            if (*left != *right) return false;
        }
        if (*left == '\0') left = ones.nextPiece();
        if (*right == '\0') right = others.nextPiece();
    }
    return !left && !right;
}

std::optional<std::string_view> firstText(TreeNode element) {
    if (*element.value() != '\0') return element.value();
    for (auto node = element.firstChild(); node; node = node.nextSibling()) {
        if (node.isText() && *node.value() != '\0') return node.value();
    }
    return std::nullopt;
}

std::optional<std::string_view> childText(TreeNode parent, std::string_view childName) {
    const auto found = child(parent, childName);
    return found ? firstText(found) : std::nullopt;
}

std::optional<std::string_view> descendantText(TreeNode top, std::string_view elementName) {
    for (auto node = firstElement(top); node; node = nextWithin(node, top)) {
        if (name(node) != elementName) continue;
        const auto text = firstText(node);
        if (text && isFirstOfItsName(node)) return text;
    }
    return std::nullopt;
}

TreeNode descendant(TreeNode top, std::string_view elementName) {
    auto node = firstElement(top);
    while (node && name(node) != elementName) node = nextWithin(node, top);
    return node;
}

}  // namespace larkspan::xmltree
