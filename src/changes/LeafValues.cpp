#include "changes/LeafValues.h"

#include "changes/XMLTree.h"

namespace larkspan {
namespace {

TreeNode endOfChain(TreeNode node) {
    while (true) {
        const auto only = node.firstChild();
        if (!only.isElement() || only.nextSibling()) return node;
        if (*node.value() != '\0') return node;
        node = only;
    }
}

}  // namespace

bool LeafValues::differ(TreeNode newNode, TreeNode oldNode) {
    const auto newEnd = endOfChain(newNode);
    const auto oldEnd = endOfChain(oldNode);
    if (newEnd == newEnd_ && oldEnd == oldEnd_) return endsDiffer_;
    const bool areDifferent = !xmltree::haveEqualStringValues(newEnd, oldEnd);
    newEnd_ = newEnd;
    oldEnd_ = oldEnd;
    endsDiffer_ = areDifferent;
    if (areDifferent) {
        newValue_ = xmltree::stringValue(newEnd);
        oldValue_ = xmltree::stringValue(oldEnd);
    }
    return areDifferent;
}

}  // namespace larkspan
