#pragma once

#include "changes/NodeFacts.h"
#include "changes/Sentence.h"
#include "changes/SubClips.h"
#include "foundation/Text.h"

#include <string>
#include <string_view>
#include <unordered_set>

namespace larkspan {

// An element that has changed its value.
struct ChangedLeaf {
    TreeNode node;  // in the new document
    std::string_view nodeName;
    std::string_view nodeValue;  // the new one
    TreeNode nodeParent;
    std::string_view nodeParentName;
    TreeNode oldNode;
    std::string_view oldValue;
};

// What a rule says about a changed leaf. A rule that applies may still have nothing to say.
struct RuleResult {
    bool applies = true;
    Sentence sentence = {};

    RuleResult(Sentence made) : sentence(std::move(made)) {}  // NOLINT
    static RuleResult doesNotApply() {
        RuleResult result{Sentence()};
        result.applies = false;
        return result;
    }
};

// Identifiers to be asked for; they lie in a list that lives longer.
using IdentifierSet = std::unordered_set<std::string_view>;

// What rules read beside the leaf.
struct RuleContext {
    NodeFacts& facts;
    SubClips& subClips;
    const IdentifierSet& uuids;  // of the new document
};

using SentenceRule = RuleResult (*)(const ChangedLeaf& leaf, RuleContext& context);

// A change of a number of frames: both as timecode, and by how many.
struct FrameChange {
    FrameChange(const ChangedLeaf& leaf, NodeFacts& facts);

    std::string from;
    std::string to;
    std::string sign;  // "+" when there are more; a negative number has its own
    long difference = 0;
};

}  // namespace larkspan
