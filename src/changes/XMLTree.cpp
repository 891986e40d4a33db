#include "changes/XMLTree.h"

namespace larkspan::xmltree {
namespace {

pugi::xml_node elementBackFrom(pugi::xml_node node) {
    while (node && !isElement(node)) node = node.previous_sibling();
    return node;
}

bool isFirstOfItsName(pugi::xml_node element) {
    return child(element.parent(), name(element)) == element;
}

// The texts of a subtree, one piece after the other.
class TextPieces {
  public:
    explicit TextPieces(pugi::xml_node top) : top_(top), node_(top) {}

    // Null at the end; never an empty piece.
    const char* nextPiece() {
        while (node_) {
            const pugi::xml_node node = node_;
            node_ = advanced(node);
            const bool counts = isElement(node) || isText(node);
            if (counts && *node.value() != '\0') return node.value();
        }
        return nullptr;
    }

  private:
    pugi::xml_node advanced(pugi::xml_node node) const {
        if (const auto first = node.first_child()) return first;
        while (node != top_ && !node.next_sibling()) node = node.parent();
        return node == top_ ? pugi::xml_node() : node.next_sibling();
    }

    pugi::xml_node top_;
    pugi::xml_node node_;
};

}  // namespace

bool hasAtMostOneChild(pugi::xml_node element) {
    const auto first = element.first_child();
    if (!exists(first)) return true;
    return !exists(first.next_sibling()) && *element.value() == '\0';
}

bool isLeaf(pugi::xml_node element) {
    return !firstElement(element);
}

pugi::xml_node previousElementSibling(pugi::xml_node node) {
    return elementBackFrom(node.previous_sibling());
}

pugi::xml_node next(pugi::xml_node element) {
    const auto first = firstElement(element);
    return exists(first) ? first : following(element);
}

pugi::xml_node following(pugi::xml_node element) {
    for (auto node = element; exists(node); node = node.parent()) {
        const auto sibling = nextElementSibling(node);
        if (exists(sibling)) return sibling;
    }
    return {};
}

pugi::xml_node previous(pugi::xml_node element) {
    auto node = previousElementSibling(element);
    if (!node) return isElement(element.parent()) ? element.parent() : pugi::xml_node();
    while (const auto last = elementBackFrom(node.last_child())) node = last;
    return node;
}

pugi::xml_node nextWithin(pugi::xml_node element, pugi::xml_node top) {
    if (const auto first = firstElement(element)) return first;
    for (auto node = element; node && node != top; node = node.parent()) {
        if (const auto sibling = nextElementSibling(node)) return sibling;
    }
    return {};
}

pugi::xml_node child(pugi::xml_node parent, std::string_view childName) {
    auto node = firstElement(parent);
    while (node && name(node) != childName) node = nextElementSibling(node);
    return node;
}

pugi::xml_node ancestor(pugi::xml_node node, std::string_view ancestorName) {
    return ancestorOrSelf(node.parent(), ancestorName);
}

pugi::xml_node ancestorOrSelf(pugi::xml_node node, std::string_view ancestorName) {
    while (node && name(node) != ancestorName) node = node.parent();
    return node;
}

std::string stringValue(pugi::xml_node node) {
    if (!node.first_child()) return node.value();
    std::string value;
    TextPieces pieces(node);
    while (const char* piece = pieces.nextPiece()) value += piece;
    return value;
}

bool haveEqualStringValues(pugi::xml_node one, pugi::xml_node other) {
    if (!exists(one.first_child()) && !exists(other.first_child())) {
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

std::optional<std::string_view> firstText(pugi::xml_node element) {
    if (*element.value() != '\0') return element.value();
    for (auto node = element.first_child(); node; node = node.next_sibling()) {
        if (isText(node) && *node.value() != '\0') return node.value();
    }
    return std::nullopt;
}

std::optional<std::string_view> childText(pugi::xml_node parent, std::string_view childName) {
    const auto found = child(parent, childName);
    return found ? firstText(found) : std::nullopt;
}

std::optional<std::string_view> descendantText(pugi::xml_node top, std::string_view elementName) {
    for (auto node = firstElement(top); node; node = nextWithin(node, top)) {
        if (name(node) != elementName) continue;
        const auto text = firstText(node);
        if (text && isFirstOfItsName(node)) return text;
    }
    return std::nullopt;
}

pugi::xml_node descendant(pugi::xml_node top, std::string_view elementName) {
    auto node = firstElement(top);
    while (node && name(node) != elementName) node = nextWithin(node, top);
    return node;
}

}  // namespace larkspan::xmltree
