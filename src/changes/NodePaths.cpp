#include "changes/NodePaths.h"

#include "changes/XMLTree.h"

#include <algorithm>
#include <vector>

namespace larkspan {
namespace {

constexpr size_t mostRemembered = 10'000;

size_t countFrom(TreeNode first, size_t number, TreeNode element) {
    const std::string_view name = xmltree::name(element);
    for (auto node = first; node; node = node.nextSibling()) {
        if (xmltree::name(node) == name) ++number;
        if (node == element) return number;
    }
    return 0;
}

}  // namespace

std::string NodePaths::path(TreeNode element) {
    std::vector<std::string> steps;
    for (auto node = element; node.isElement(); node = node.parent()) {
        steps.push_back("/" + std::string(node.name()) + "[" +
                        std::to_string(numberAmongSiblings(node)) + "]");
    }
    std::string path;
    std::for_each(steps.rbegin(), steps.rend(), [&](const std::string& step) { path += step; });
    return path;
}

size_t NodePaths::numberAmongSiblings(TreeNode element) {
    if (counted_.size() > mostRemembered) counted_.clear();
    const auto parent = element.parent();
    Counted& last = counted_[{parent.record(), xmltree::name(element)}];
    size_t number = last.element == element ? last.number : 0;
    if (number == 0 && last.element) {
        number = countFrom(last.element.nextSibling(), last.number, element);
    }
    if (number == 0) number = countFrom(parent.firstChild(), 0, element);
    last = {element, number};
    return number;
}

}  // namespace larkspan
