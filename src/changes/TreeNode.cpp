#include "changes/TreeNode.h"

namespace larkspan {

TreeNode TreeNode::previousSibling() const {
    TreeNode before;
    for (auto node = parent().firstChild(); node && node != *this; node = node.nextSibling()) {
        before = node;
    }
    return before;
}

TreeNode TreeNode::lastChild() const {
    TreeNode last;
    for (const TreeNode node : children()) last = node;
    return last;
}

TreeAttribute TreeNode::attribute(std::string_view attributeName) const {
    for (const TreeAttribute attribute : attributes()) {
        if (attributeName == attribute.name()) return attribute;
    }
    return {};
}

}  // namespace larkspan
