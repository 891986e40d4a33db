#pragma once

#include "changes/TreeNode.h"

#include <optional>
#include <string>
#include <string_view>

namespace larkspan {

// The timecode "01:00:00;00" of a number of frames, counted as the sequence around the node counts:
// with its timebase (30 without one), from its first frame on, and drop-frame (a semicolon) unless
// it says otherwise. Without a sequence, by the node's own timebase from 0 on. A timebase of 0
// counts as 30.
std::string timecodeFromFrames(std::string_view frames, TreeNode withNode);

// The same in two steps, for many numbers at nodes of one sequence.
struct FrameCounting {
    long timebase = 30;  // frames in a second, not 0
    long firstFrame = 0;
    bool isDropFrame = true;
};
FrameCounting frameCountingAround(TreeNode node);
std::string timecodeFromFrames(std::string_view frames, const FrameCounting& counting);

// The timecode of where an element starts: of its `start`, else its `in`, else of the first of
// those anywhere below it.
std::optional<std::string> startTimeForNode(TreeNode node);

}  // namespace larkspan
