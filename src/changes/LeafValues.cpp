#include "changes/LeafValues.h"

#include "changes/XMLTree.h"

namespace larkspan {
namespace {

pugi::xml_node endOfChain(pugi::xml_node node) {
    while (*node.value() == '\0') {
        const auto only = node.first_child();
        if (!xmltree::isElement(only) || only.next_sibling()) break;
        node = only;
    }
    return node;
}

}  // namespace

bool LeafValues::differ(pugi::xml_node newNode, pugi::xml_node oldNode) {
    const auto newEnd = endOfChain(newNode);
    const auto oldEnd = endOfChain(oldNode);
    if (newEnd == newEnd_ && oldEnd == oldEnd_) return endsDiffer_;
    const bool areDifferent = !xmltree::haveEqualStringValues(newEnd, oldEnd);
    if (!areDifferent && !newEnd.first_child() && !oldEnd.first_child()) return false;
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
