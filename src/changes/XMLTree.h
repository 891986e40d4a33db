#pragma once

#include "changes/TreeNode.h"

#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace larkspan::xmltree {

// Walks and readings of a parsed document. All of them iterate, however deep a document is, and
// take a missing node for one that has nothing.
//
// The text that an element begins with is stored as the element's own value, not as a node of its
// own: what follows counts and reads it as the first child that it is in the document.

inline std::string_view name(TreeNode node) {
    return node.name();
}
// Whether two names are the same.
inline bool areSame(const char* one, const char* other) {
    return *one == *other && std::strcmp(one, other) == 0;
}

// Whether an element has no or one child of any kind.
bool hasAtMostOneChild(TreeNode element);
// Whether there is no element below it.
bool isLeaf(TreeNode element);

// The node itself or the next of its siblings that is an element.
inline TreeNode elementFrom(TreeNode node) {
    while (node && !node.isElement()) node = node.nextSibling();
    return node;
}
inline TreeNode firstElement(TreeNode parent) {
    return elementFrom(parent.firstChild());
}
inline TreeNode nextElementSibling(TreeNode node) {
    return elementFrom(node.nextSibling());
}
TreeNode previousElementSibling(TreeNode node);

// The next element in document order, and the one behind the whole subtree: the next sibling of
// the element or of its nearest ancestor that has one.
TreeNode next(TreeNode element);
TreeNode following(TreeNode element);
// The element before this one in document order; the document's root has none.
TreeNode previous(TreeNode element);
// The next element in document order below `top`; none at its end.
TreeNode nextWithin(TreeNode element, TreeNode top);

// The first child element of that name.
TreeNode child(TreeNode parent, std::string_view childName);
// The nearest ancestor of that name.
TreeNode ancestor(TreeNode node, std::string_view ancestorName);
// The same, where the node itself counts, too.
TreeNode ancestorOrSelf(TreeNode node, std::string_view ancestorName);

// All text below a node, put together.
std::string stringValue(TreeNode node);
bool haveEqualStringValues(TreeNode one, TreeNode other);

// The first text that stands directly in an element; empty when there is none.
std::optional<std::string_view> firstText(TreeNode element);
// That of the first child of that name: "./NAME[1]/text()".
std::optional<std::string_view> childText(TreeNode parent, std::string_view childName);
// That of the first element below the node which has text and is the first of that name in its
// parent: ".//NAME[1]/text()".
std::optional<std::string_view> descendantText(TreeNode top, std::string_view elementName);
// The first element below the node that is the first of that name in its parent.
TreeNode descendant(TreeNode top, std::string_view elementName);

}  // namespace larkspan::xmltree
