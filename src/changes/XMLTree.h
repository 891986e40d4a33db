#pragma once

#include <bit>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace larkspan::xmltree {

// Walks and readings of a parsed document. All of them iterate, however deep a document is, and
// take a missing node for one that has nothing.
//
// The text that an element begins with is stored as the element's own value, not as a node of its
// own: what follows counts and reads it as the first child that it is in the document.

inline std::string_view name(pugi::xml_node node) {
    return node.name();
}
inline bool isElement(pugi::xml_node node) {
    return node.type() == pugi::node_element;
}
inline bool isText(pugi::xml_node node) {
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

// What the walks ask of every element, without a call into the library: whether there is a node or
// an attribute at all (both are pointers), and whether two names are the same.
template <class Handle>
bool exists(Handle handle) {
    return std::bit_cast<const void*>(handle) != nullptr;
}
inline bool areSame(const char* one, const char* other) {
    return *one == *other && std::strcmp(one, other) == 0;
}

// Whether an element has no or one child of any kind.
bool hasAtMostOneChild(pugi::xml_node element);
// Whether there is no element below it.
bool isLeaf(pugi::xml_node element);

// The node itself or the next of its siblings that is an element.
inline pugi::xml_node elementFrom(pugi::xml_node node) {
    while (exists(node) && !isElement(node)) node = node.next_sibling();
    return node;
}
inline pugi::xml_node firstElement(pugi::xml_node parent) {
    return elementFrom(parent.first_child());
}
inline pugi::xml_node nextElementSibling(pugi::xml_node node) {
    return elementFrom(node.next_sibling());
}
pugi::xml_node previousElementSibling(pugi::xml_node node);

// The next element in document order, and the one behind the whole subtree: the next sibling of
// the element or of its nearest ancestor that has one.
pugi::xml_node next(pugi::xml_node element);
pugi::xml_node following(pugi::xml_node element);
// The element before this one in document order; the document's root has none.
pugi::xml_node previous(pugi::xml_node element);
// The next element in document order below `top`; none at its end.
pugi::xml_node nextWithin(pugi::xml_node element, pugi::xml_node top);

// The first child element of that name.
pugi::xml_node child(pugi::xml_node parent, std::string_view childName);
// The nearest ancestor of that name.
pugi::xml_node ancestor(pugi::xml_node node, std::string_view ancestorName);
// The same, where the node itself counts, too.
pugi::xml_node ancestorOrSelf(pugi::xml_node node, std::string_view ancestorName);

// All text below a node, put together.
std::string stringValue(pugi::xml_node node);
bool haveEqualStringValues(pugi::xml_node one, pugi::xml_node other);

// The first text that stands directly in an element; empty when there is none.
std::optional<std::string_view> firstText(pugi::xml_node element);
// That of the first child of that name: "./NAME[1]/text()".
std::optional<std::string_view> childText(pugi::xml_node parent, std::string_view childName);
// That of the first element below the node which has text and is the first of that name in its
// parent: ".//NAME[1]/text()".
std::optional<std::string_view> descendantText(pugi::xml_node top, std::string_view elementName);
// The first element below the node that is the first of that name in its parent.
pugi::xml_node descendant(pugi::xml_node top, std::string_view elementName);

}  // namespace larkspan::xmltree
