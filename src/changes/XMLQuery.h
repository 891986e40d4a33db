#pragma once

#include "changes/TreeNode.h"
#include "foundation/Result.h"

#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

// What a query found: an element, an attribute, or a text that stands in an element.
struct XMLNode {
    enum class Kind { element, attribute, text };

    Kind kind = Kind::element;
    TreeNode node;               // the element; of the other kinds the owner
    TreeAttribute attribute;     // set for an attribute
    const char* text = nullptr;  // set for a text

    explicit operator bool() const { return static_cast<bool>(node); }
    std::string stringValue() const;
    friend bool operator==(const XMLNode&, const XMLNode&) = default;
};

// Runs an XPath query as it stands on a node. String literals are taken with character references
// resolved. The error says what is wrong with the query.
Result<std::vector<XMLNode>> runQuery(std::string_view query, TreeNode node);

}  // namespace larkspan
