#pragma once

#include "foundation/Result.h"

#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace larkspan {

// What a query found: an element, an attribute, or a text that stands in an element.
struct XMLNode {
    enum class Kind { element, attribute, text };

    Kind kind = Kind::element;
    pugi::xml_node node;            // the element; of the other kinds the owner
    pugi::xml_attribute attribute;  // set for an attribute
    const char* text = nullptr;     // set for a text

    explicit operator bool() const { return !node.empty(); }
    std::string stringValue() const;
    friend bool operator==(const XMLNode&, const XMLNode&) = default;
};

// Runs an XPath query as it stands on a node. String literals are taken with character references
// resolved. Text is found by a last step "text()", and compared by "text()" in a predicate where
// the element holds no others. The error says what is wrong with the query.
Result<std::vector<XMLNode>> runQuery(std::string_view query, pugi::xml_node node);

}  // namespace larkspan
