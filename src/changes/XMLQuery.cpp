#include "changes/XMLQuery.h"

#include "changes/CharacterReference.h"
#include "changes/QueryTree.h"
#include "changes/XMLTree.h"

#include <optional>

namespace larkspan {
namespace {

Error queryError(std::string description) {
    return {"XMLQueryErrorDomain", 1, std::move(description)};
}

// XPath has no escapes: a literal stands in the kind of quotes that is not in it.
std::optional<std::string> quoted(const std::string& text) {
    for (const char quote : {'"', '\''}) {
        if (text.find(quote) == std::string::npos) return quote + text + quote;
    }
    return std::nullopt;
}

// A query in the library's own terms: literals without references.
Result<std::string> translated(std::string_view query) {
    std::string result;
    while (!query.empty()) {
        const char c = query.front();
        if (c == '"' || c == '\'') {
            const size_t end = query.find(c, 1);
            if (end == std::string_view::npos) return queryError("A string literal does not end.");
            const auto text = resolvingReferences(query.substr(1, end - 1));
            const auto literal = text ? quoted(*text) : std::nullopt;
            if (!literal) return queryError("A string literal cannot be read.");
            result += *literal;
            query.remove_prefix(end + 1);
        } else {
            result += c;
            query.remove_prefix(1);
        }
    }
    return result;
}

TreeAttribute attributeOf(const QueryTree& tree, TreeNode owner, pugi::xml_attribute sought) {
    size_t at = 0;
    for (const pugi::xml_attribute each : tree.nodeOf(owner.record()).attributes()) {
        if (each == sought) return owner.attributes()[at];
        ++at;
    }
    return {};
}

XMLNode foundNode(const QueryTree& tree, const NodeTable& table, const pugi::xpath_node& hit) {
    const auto nodeFor = [&](pugi::xml_node node) {
        const NodeRecord* record = tree.recordOf(node);
        return record ? TreeNode(table, record) : TreeNode();
    };
    if (hit.attribute()) {
        const TreeNode owner = nodeFor(hit.parent());
        return {XMLNode::Kind::attribute, owner, attributeOf(tree, owner, hit.attribute())};
    }
    const TreeNode node = nodeFor(hit.node());
    // The text that an element begins with is the element's value.
    if (!node) {
        const TreeNode owner = nodeFor(hit.node().parent());
        return {XMLNode::Kind::text, owner, {}, owner.value()};
    }
    if (node.isText()) return {XMLNode::Kind::text, node.parent(), {}, node.value()};
    return {XMLNode::Kind::element, node, {}};
}

}  // namespace

std::string XMLNode::stringValue() const {
    switch (kind) {
        case Kind::attribute:
            return attribute.value();
        case Kind::text:
            return text;
        case Kind::element:
            break;
    }
    return xmltree::stringValue(node);
}

Result<std::vector<XMLNode>> runQuery(std::string_view query, TreeNode node) {
    const auto translation = translated(query);
    if (!translation) return translation.error();
    std::vector<XMLNode> found;
    try {
        const pugi::xpath_query compiled(translation->c_str());
        if (!node) return found;
        const QueryTree& tree = node.table().queryTree();
        pugi::xpath_node_set hits = compiled.evaluate_node_set(tree.nodeOf(node.record()));
        hits.sort();
        for (const pugi::xpath_node& hit : hits) {
            XMLNode each = foundNode(tree, node.table(), hit);
            const bool isEmptyText = each.kind == XMLNode::Kind::text && *each.text == '\0';
            if (!isEmptyText) found.push_back(each);
        }
    } catch (const pugi::xpath_exception& exception) {
        return queryError(exception.what());
    }
    return found;
}

}  // namespace larkspan
