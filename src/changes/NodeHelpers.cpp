#include "changes/NodeHelpers.h"

#include "changes/XMLTree.h"
#include "foundation/Text.h"

namespace larkspan {
namespace {

void appendHistory(std::vector<std::string>& history, TreeNode itemHistory) {
    std::string value = xmltree::stringValue(xmltree::child(itemHistory, "uuid"));
    if (!value.empty()) history.push_back(std::move(value));
}

bool isFirstHistory(TreeNode node) {
    return xmltree::name(node) == "itemhistory" &&
           xmltree::child(node.parent(), "itemhistory") == node;
}

}  // namespace

std::string typeOfNode(TreeNode node) {
    const std::string_view name = xmltree::name(node);
    return withUpperFirst(lowercased(name == "clipitem" ? "clip" : name));
}

std::optional<std::string> capitalizeFirstLetter(const std::optional<std::string>& text) {
    if (!text) return std::nullopt;
    return withUpperFirst(*text);
}

std::vector<std::string> uuidHistoryForNode(TreeNode node) {
    using namespace xmltree;
    std::vector<std::string> history;
    if (const auto own = child(node, "itemhistory"); child(own, "uuid")) {
        appendHistory(history, own);
        return history;
    }
    for (auto below = firstElement(node); below; below = nextWithin(below, node)) {
        if (isFirstHistory(below)) appendHistory(history, below);
    }
    return history;
}

BaseRealignment::BaseRealignment(TreeNode baseNode)
    : baseNode_(baseNode),
      behindNode_(xmltree::following(baseNode)),
      behindParent_(xmltree::following(baseNode.parent())) {}

TreeNode BaseRealignment::nodeLike(TreeNode newNode) const {
    for (const auto behind : {behindNode_, behindParent_}) {
        if (behind && xmltree::name(behind) == xmltree::name(newNode)) return behind;
    }
    return {};
}

TreeNode nextBaseNode(TreeNode baseNode, TreeNode newNode) {
    if (xmltree::name(baseNode) != xmltree::name(newNode)) {
        if (const auto behind = BaseRealignment(baseNode).nodeLike(newNode)) return behind;
    }
    return xmltree::previous(baseNode);
}

}  // namespace larkspan
