#include "changes/NodePaths.h"

#include "changes/XMLTree.h"

#include <algorithm>
#include <vector>

namespace larkspan {
namespace {

constexpr size_t mostRemembered = 10'000;

size_t countFrom(pugi::xml_node first, size_t number, pugi::xml_node element) {
    const std::string_view name = xmltree::name(element);
    for (auto node = first; node; node = node.next_sibling()) {
        if (xmltree::name(node) == name) ++number;
        if (node == element) return number;
    }
    return 0;
}

}  // namespace

std::string NodePaths::path(pugi::xml_node element) {
    std::vector<std::string> steps;
    for (auto node = element; xmltree::isElement(node); node = node.parent()) {
        steps.push_back("/" + std::string(node.name()) + "[" +
                        std::to_string(numberAmongSiblings(node)) + "]");
    }
    std::string path;
    std::for_each(steps.rbegin(), steps.rend(), [&](const std::string& step) { path += step; });
    return path;
}

size_t NodePaths::numberAmongSiblings(pugi::xml_node element) {
    if (counted_.size() > mostRemembered) counted_.clear();
    const auto parent = element.parent();
    Counted& last = counted_[{parent.internal_object(), xmltree::name(element)}];
    size_t number = last.element == element ? last.number : 0;
    if (number == 0 && last.element) {
        number = countFrom(last.element.next_sibling(), last.number, element);
    }
    if (number == 0) number = countFrom(parent.first_child(), 0, element);
    last = {element, number};
    return number;
}

}  // namespace larkspan
