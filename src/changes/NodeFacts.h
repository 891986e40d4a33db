#pragma once

#include "changes/Sentence.h"
#include "changes/Timecode.h"
#include "changes/TreeNode.h"

#include <string>
#include <string_view>
#include <unordered_map>

namespace larkspan {

// What the sentences say about nodes of a comparison's documents, looked up once for each node that
// is named often. Used by one thread.
class NodeFacts {
  public:
    // An element that gives a name where `name` gives none; empty when there is none such.
    explicit NodeFacts(std::string_view otherNameElement = {})
        : otherNameElement_(otherNameElement) {}

    // Empty for a missing node.
    Field name(TreeNode node);

    // A timecode by the counting around the node.
    std::string timecode(std::string_view frames, TreeNode atNode);

    // "video ", "audio " or "".
    static std::string trackWord(TreeNode node);
    // "video", "audio" or nothing.
    static Field bareTrackWord(TreeNode node);
    // Of a clip: "subclip", "freeze frame" or "clip".
    static std::string kindWord(TreeNode clip);

    static bool isClip(TreeNode node);
    // The nearest clip or clip item above.
    static TreeNode clipAbove(TreeNode node);
    // The nearest filter or effect above.
    static TreeNode filterAbove(TreeNode node);

  private:
    std::string_view otherNameElement_;
    std::unordered_map<const void*, Field> names_;
    TreeNode countedSequence_;
    FrameCounting counting_;
};

}  // namespace larkspan
