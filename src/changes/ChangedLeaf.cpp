#include "changes/ChangedLeaf.h"

#include <algorithm>

namespace larkspan {
namespace {

// So that the difference of any two has a value.
long bounded(long number) {
    constexpr long most = 1L << 61;
    return std::clamp(number, -most, most);
}

}  // namespace

FrameChange::FrameChange(const ChangedLeaf& leaf, NodeFacts& facts)
    : from(facts.timecode(leaf.oldValue, leaf.node)),
      to(facts.timecode(leaf.nodeValue, leaf.node)),
      difference(bounded(integerValue(leaf.nodeValue)) - bounded(integerValue(leaf.oldValue))) {
    if (difference > 0) sign = "+";
}

}  // namespace larkspan
