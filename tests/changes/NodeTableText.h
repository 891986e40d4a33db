#pragma once

#include "changes/TreeNode.h"

#include <string>

namespace larkspan::testing {

// All that a table says of its nodes, a line for each.
inline std::string textOf(const NodeTable& table) {
    const auto number = [&](TreeNode node) {
        return node ? std::to_string(table.numberOf(node.record())) : "-";
    };
    std::string text;
    for (std::uint32_t at = 0; at < table.size(); ++at) {
        const TreeNode node(table, table.record(at));
        text += number(node) + " " + std::to_string(static_cast<int>(node.kind())) + " <" +
                node.name() + "> [" + node.value() + "] " + number(node.parent()) + " " +
                number(node.firstChild()) + " " + number(node.nextSibling());
        for (const TreeAttribute attribute : node.attributes()) {
            text += std::string(" ") + attribute.name() + "=[" + attribute.value() + "]";
        }
        text += '\n';
    }
    return text;
}

}  // namespace larkspan::testing
