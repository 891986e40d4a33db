#include "changes/QueryTree.h"

#include <array>

namespace larkspan {
namespace {

pugi::xml_node_type typeOf(NodeKind kind) {
    constexpr std::array types = {pugi::node_document, pugi::node_element, pugi::node_pcdata,
                                  pugi::node_cdata,    pugi::node_comment, pugi::node_pi};
    return types[static_cast<size_t>(kind)];
}

}  // namespace

QueryTree::QueryTree(const NodeTable& table) : table_(table) {
    nodes_.reserve(table.size());
    nodes_.push_back(tree_);
    records_.emplace(tree_.internal_object(), table.record(0));
    for (std::uint32_t at = 1; at < table.size(); ++at) {
        const NodeRecord* record = table.record(at);
        const auto node = added(record);
        nodes_.push_back(node);
        records_.emplace(node.internal_object(), record);
    }
}

pugi::xml_node QueryTree::added(const NodeRecord* record) {
    const NodeKind kind = record->nodeKind();
    const char* value = table_.value(record->value);
    auto node = nodes_[record->parent].append_child(typeOf(kind));
    if (kind == NodeKind::element || kind == NodeKind::instruction) {
        node.set_name(table_.name(record->name));
    }
    if (kind != NodeKind::element) {
        node.set_value(value);
        return node;
    }
    for (auto at = record->attributes; at < record[1].attributes; ++at) {
        const AttributeRecord* attribute = table_.attribute(at);
        node.append_attribute(table_.name(attribute->name))
            .set_value(table_.value(attribute->value));
    }
    if (*value != '\0') node.append_child(pugi::node_pcdata).set_value(value);
    return node;
}

pugi::xml_node QueryTree::nodeOf(const NodeRecord* record) const {
    return nodes_[table_.numberOf(record)];
}

const NodeRecord* QueryTree::recordOf(pugi::xml_node node) const {
    const auto found = records_.find(node.internal_object());
    return found == records_.end() ? nullptr : found->second;
}

}  // namespace larkspan
