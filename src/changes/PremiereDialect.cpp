#include "changes/Dialect.h"
#include "changes/PointRules.h"
#include "changes/SubClips.h"
#include "changes/XMLTree.h"

#include <map>

// What Premiere documents have otherwise: times under other names, and clips that are objects of
// their own, named by subclips that refer to them. For the times see docs/behaviour.md, fixed 15.

namespace larkspan {
namespace {

TreeNode nearest(TreeNode node, std::string_view one, std::string_view other) {
    node = node.parent();
    while (node && xmltree::name(node) != one && xmltree::name(node) != other) node = node.parent();
    return node;
}

// The clip that a leaf belongs to, and what it is called.
struct ClipOfLeaf {
    TreeNode clip;
    Field word;  // "video" or "audio"
    Field name;
};

ClipOfLeaf clipAround(const ChangedLeaf& leaf, RuleContext& context) {
    if (const auto clip = nearest(leaf.node, "VideoClip", "AudioClip")) {
        const bool isAudio = xmltree::name(clip) == "AudioClip";
        return {clip, isAudio ? "audio" : "video", context.subClips.nameForClip(clip)};
    }
    if (const auto item = nearest(leaf.node, "ClipTrackItem", "AudioClipTrackItem")) {
        const bool isAudio = static_cast<bool>(xmltree::ancestor(leaf.node, "AudioClipTrackItem"));
        return {item, isAudio ? "audio" : "video", context.subClips.nameForTrackItem(item)};
    }
    if (leaf.nodeParentName != "Clip") return {};
    return {leaf.nodeParent, std::nullopt, context.subClips.nameForClip(leaf.nodeParent)};
}

RuleResult inOrOut(const pointrules::InOutTexts& texts, const ChangedLeaf& leaf,
                   RuleContext& context) {
    if (leaf.nodeParentName == "Sequence") {
        return sequencePoint(texts, leaf, context.facts, context.facts.name(leaf.nodeParent));
    }
    const ClipOfLeaf around = clipAround(leaf, context);
    if (!around.clip) return RuleResult::doesNotApply();
    if (!around.word) return itemPoint(texts, leaf, context.facts, "clip", around.name);
    return trackClipPoint(texts, leaf, context.facts, around.word, around.name);
}

// Where a clip ends: has a form of its own.
RuleResult clipEnd(const ChangedLeaf& leaf, RuleContext& context, const Field& word,
                   const Field& name) {
    const FrameChange change(leaf, context.facts);
    return sentence("End point of %@ clip %@ changed from %@ to %@ (%@%li)", word, name,
                    change.from, change.to, change.sign, change.difference);
}

RuleResult startOrEnd(const pointrules::BoundTexts& texts, const ChangedLeaf& leaf,
                      RuleContext& context) {
    if (leaf.nodeParentName == "Sequence") {
        const FrameChange change(leaf, context.facts);
        return sentence(texts.sequenceChanged, context.facts.name(leaf.nodeParent), change.from,
                        change.to, change.sign, change.difference);
    }
    const ClipOfLeaf around = clipAround(leaf, context);
    if (!around.clip) return RuleResult::doesNotApply();
    if (around.word == "audio") return audioClipBound(texts, leaf, context.facts, around.name);
    if (&texts == &pointrules::endTexts && leaf.nodeValue != pointrules::noPoint) {
        return clipEnd(leaf, context, around.word, around.name);
    }
    const std::string track = around.word ? *around.word + " " : "";
    return clipBound(texts, leaf, context.facts, track, "clip", around.name);
}

RuleResult inPoint(const ChangedLeaf& leaf, RuleContext& context) {
    return inOrOut(pointrules::inTexts, leaf, context);
}

RuleResult outPoint(const ChangedLeaf& leaf, RuleContext& context) {
    return inOrOut(pointrules::outTexts, leaf, context);
}

RuleResult start(const ChangedLeaf& leaf, RuleContext& context) {
    return startOrEnd(pointrules::startTexts, leaf, context);
}

RuleResult end(const ChangedLeaf& leaf, RuleContext& context) {
    return startOrEnd(pointrules::endTexts, leaf, context);
}

// The interchange format's own `end`, where clips have the form of this application.
RuleResult interchangeEnd(const ChangedLeaf& leaf, RuleContext& context) {
    const auto word = NodeFacts::bareTrackWord(leaf.nodeParent);
    const bool isOtherClip = NodeFacts::isClip(leaf.nodeParent) && word != "audio";
    if (!isOtherClip || leaf.nodeValue == pointrules::noPoint) {
        return pointrules::end(leaf, context);
    }
    return clipEnd(leaf, context, word, context.facts.name(leaf.nodeParent));
}

RuleResult workInPoint(const ChangedLeaf& leaf, RuleContext& /*context*/) {
    return sentence("Work Area in point set to %@", std::string(leaf.nodeValue));
}

RuleResult workOutPoint(const ChangedLeaf& leaf, RuleContext& /*context*/) {
    return sentence("Work Area out point set to %@", std::string(leaf.nodeValue));
}

SentenceRule premiereRuleFor(std::string_view elementName) {
    static const std::map<std::string_view, SentenceRule> rules{{"InPoint", inPoint},
                                                                {"OutPoint", outPoint},
                                                                {"Start", start},
                                                                {"End", end},
                                                                {"end", interchangeEnd},
                                                                {"MZ.WorkInPoint", workInPoint},
                                                                {"MZ.WorkOutPoint", workOutPoint}};
    const auto found = rules.find(elementName);
    return found == rules.end() ? sharedRuleFor(elementName) : found->second;
}

}  // namespace

const Dialect& premiereDialect() {
    static const Dialect dialect{
        .bookkeeping = {"uuid", "itemhistory", "link", "LinkRefCount", "trackindex", "file",
                        "mediatype", "ProjectViewState", "Properties"},
        .ignored = {"Node", "Timestamp", "CompilerFourCC", "CompilerClassIDFourCC",
                    "AutomationMode", "MZ.BuildVersion"},
        .ruleFor = premiereRuleFor,
        .otherNameElement = "Name",
        .hasFraming = false};
    return dialect;
}

}  // namespace larkspan
