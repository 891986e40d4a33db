#include "changes/Timecode.h"

#include "changes/XMLTree.h"
#include "foundation/Text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace larkspan {
namespace {

constexpr long usualTimebase = 30;
constexpr long oneHourOfDropFrames = 107'892;
// Beyond it, counts (of damaged documents) stand still rather than overflow.
constexpr long mostFrames = 1L << 60;

long bounded(long frames) {
    return std::clamp(frames, -mostFrames, mostFrames);
}

}  // namespace

FrameCounting frameCountingAround(TreeNode node) {
    using namespace xmltree;
    FrameCounting counting;
    const auto sequence = ancestor(node, "sequence");
    if (const auto timebase = child(child(sequence ? sequence : node, "rate"), "timebase")) {
        counting.timebase = integerValue(stringValue(timebase));
        if (counting.timebase == 0) counting.timebase = usualTimebase;
    }
    if (!sequence) return counting;
    const auto timecode = child(sequence, "timecode");
    const auto frame = child(timecode, "frame");
    counting.firstFrame = frame ? integerValue(stringValue(frame)) : oneHourOfDropFrames;
    counting.isDropFrame = stringValue(child(timecode, "displayformat")) != "NDF";
    return counting;
}

std::string timecodeFromFrames(std::string_view frames, TreeNode withNode) {
    return timecodeFromFrames(frames, frameCountingAround(withNode));
}

std::string timecodeFromFrames(std::string_view frames, const FrameCounting& counting) {
    const long timebase = counting.timebase;
    long total = bounded(integerValue(frames)) + bounded(counting.firstFrame);
    if (counting.isDropFrame) {
        // In one pass, from the count before the correction: deliberate, every list is made so.
        const long minutes = total / timebase / 60;
        total += 2 * (minutes - minutes / 10);
    }
    const long seconds = total / timebase;
    std::array<char, 128> text{};
    (void)std::snprintf(text.data(), text.size(), "%.2ld:%.2ld:%.2ld%c%.2ld", seconds / 3600 % 24,
                        seconds / 60 % 60, seconds % 60, counting.isDropFrame ? ';' : ':',
                        total % timebase);
    return text.data();
}

std::optional<std::string> startTimeForNode(TreeNode node) {
    auto frames = xmltree::childText(node, "start");
    if (!frames) frames = xmltree::childText(node, "in");
    if (!frames) frames = xmltree::descendantText(node, "start");
    if (!frames) frames = xmltree::descendantText(node, "in");
    if (!frames) return std::nullopt;
    return timecodeFromFrames(*frames, node);
}

}  // namespace larkspan
