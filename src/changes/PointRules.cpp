#include "changes/PointRules.h"

#include "changes/XMLTree.h"

namespace larkspan::pointrules {

constinit const InOutTexts inTexts{
    .sequenceRemoved = "In Point of sequence %@ removed",
    .sequenceChanged = "In Point of sequence %@ changed from %@ to %@ (%@%i)",
    .itemRemoved = "In Point of %@ %@ removed",
    .itemChanged = "In Point of %@ %@ changed from %@ to %@ (%@%i)",
    .trackClipRemoved = "In Point of %@ clip %@ removed",
    .trackClipChanged = "In Point of %@ clip %@ changed from %@ to %@ (%@%i)",
    .trackRemoved = "In Point of %@ track in sequence %@ removed",
    .trackChanged = "In Point of %@ track in sequence %@ changed from %@ to %@ (%@%i)",
    .generator = "In Point of generator %@ %@",
    .transition = "In Point of transition %@ %@",
    .filter = "In Point of filter %@ %@",
    .marker = "In Point of marker %@ %@"};

constinit const InOutTexts outTexts{
    .sequenceRemoved = "Out Point of sequence %@ removed",
    .sequenceChanged = "Out Point of sequence %@ changed from %@ to %@ (%@%i)",
    .itemRemoved = "Out Point of %@ %@ removed",
    .itemChanged = "Out Point of %@ %@ changed from %@ to %@ (%@%i)",
    .trackClipRemoved = "Out Point of %@ clip %@ removed",
    .trackClipChanged = "Out Point of %@ clip %@ changed from %@ to %@ (%@%i)",
    .trackRemoved = "Out Point of %@ track in sequence %@ removed",
    .trackChanged = "Out Point of %@ track in sequence %@ changed from %@ to %@ (%@%i)",
    .generator = "Out Point of generator %@ %@",
    .transition = "Out Point of transition %@ %@",
    .filter = "Out Point of filter %@ %@",
    .marker = "Out Point of marker %@ %@"};

constinit const BoundTexts startTexts{
    .sequenceChanged = "%@ sequence Start changed from %@ to %@ (%@%i)",
    .generatorChanged = "Start point of generator %@ changed from %@ to %@ (%@%i)",
    .clipChanged = "Start point of %@%@ %@ changed from %@ to %@ (%@%i)",
    .audioClipChanged = "Start of audio clip %@ changed from %@ to %@ (%@%i)",
    .transition = "Start point of transition %@ %@",
    .filter = "Start point of filter %@ %@",
    .generatorTransition = "Transition added at beginning of generator %@",
    .clipTransition = "Transition added at beginning of %@%@ %@",
    .audioClipTransition = "Transition added at beginning of audio clip %@"};

constinit const BoundTexts endTexts{
    .sequenceChanged = "%@ sequence End changed from %@ to %@ (%@%i)",
    .generatorChanged = "End point of generator %@ changed from %@ to %@ (%@%i)",
    .clipChanged = "End point of %@%@ %@ changed from %@ to %@ (%@%i)",
    .audioClipChanged = "End of audio clip %@ changed from %@ to %@ (%@%i)",
    .transition = "End point of transition %@ %@",
    .filter = "End point of filter %@ %@",
    .generatorTransition = "Transition added at end of generator %@",
    .clipTransition = "Transition added at end of %@%@ %@",
    .audioClipTransition = "Transition added at end of audio clip %@"};

namespace {

bool isRemoved(const ChangedLeaf& leaf) {
    return leaf.nodeValue == noPoint;
}

// What ends the sentences about generators, transitions, filters and markers.
std::string whatHappened(const ChangedLeaf& leaf, NodeFacts& facts) {
    if (isRemoved(leaf)) return "removed";
    return messageText("changed to %@", facts.timecode(leaf.nodeValue, leaf.node));
}

Sentence trackPoint(const InOutTexts& texts, const ChangedLeaf& leaf, NodeFacts& facts) {
    const Field track = NodeFacts::bareTrackWord(leaf.node);
    const Field sequence = facts.name(xmltree::ancestor(leaf.node, "sequence"));
    if (isRemoved(leaf)) return sentence(texts.trackRemoved, track, sequence);
    const FrameChange change(leaf, facts);
    return sentence(texts.trackChanged, track, sequence, change.from, change.to, change.sign,
                    change.difference);
}

Sentence clipPoint(const InOutTexts& texts, const ChangedLeaf& leaf, NodeFacts& facts) {
    const auto clip = leaf.nodeParent;
    const Field track = NodeFacts::bareTrackWord(clip);
    if (track && leaf.nodeParentName == "clipitem") {
        return trackClipPoint(texts, leaf, facts, track, facts.name(clip));
    }
    return itemPoint(texts, leaf, facts, NodeFacts::kindWord(clip), facts.name(clip));
}

RuleResult inOrOut(const InOutTexts& texts, const ChangedLeaf& leaf, RuleContext& context) {
    NodeFacts& facts = context.facts;
    const std::string_view parent = leaf.nodeParentName;
    if (NodeFacts::isClip(leaf.nodeParent)) return clipPoint(texts, leaf, facts);
    if (parent == "track") return trackPoint(texts, leaf, facts);
    const Field name = facts.name(leaf.nodeParent);
    if (parent == "sequence") return sequencePoint(texts, leaf, facts, name);
    const auto with = [&](const SentenceText<Field, Field>& text) {
        return RuleResult(sentence(text, name, whatHappened(leaf, facts)));
    };
    if (parent == "generatoritem") return with(texts.generator);
    if (parent == "transitionitem") return with(texts.transition);
    if (parent == "filter" || parent == "effect") return with(texts.filter);
    if (parent == "marker") return with(texts.marker);
    return RuleResult::doesNotApply();
}

Sentence generatorBound(const BoundTexts& texts, const ChangedLeaf& leaf, NodeFacts& facts,
                        const Field& name) {
    if (isRemoved(leaf)) return sentence(texts.generatorTransition, name);
    const FrameChange change(leaf, facts);
    return sentence(texts.generatorChanged, name, change.from, change.to, change.sign,
                    change.difference);
}

RuleResult startOrEnd(const BoundTexts& texts, const ChangedLeaf& leaf, RuleContext& context) {
    NodeFacts& facts = context.facts;
    const std::string_view parent = leaf.nodeParentName;
    const Field name = facts.name(leaf.nodeParent);
    if (NodeFacts::isClip(leaf.nodeParent)) {
        const std::string track = NodeFacts::trackWord(leaf.nodeParent);
        if (track == "audio ") return audioClipBound(texts, leaf, facts, name);
        return clipBound(texts, leaf, facts, track, NodeFacts::kindWord(leaf.nodeParent), name);
    }
    if (parent == "sequence") {
        const FrameChange change(leaf, facts);
        return sentence(texts.sequenceChanged, name, change.from, change.to, change.sign,
                        change.difference);
    }
    if (parent == "generatoritem") return generatorBound(texts, leaf, facts, name);
    const auto with = [&](const SentenceText<Field, Field>& text) {
        return RuleResult(sentence(text, name, whatHappened(leaf, facts)));
    };
    if (parent == "transitionitem") return with(texts.transition);
    if (parent == "filter" || parent == "effect") return with(texts.filter);
    return RuleResult::doesNotApply();
}

}  // namespace

Sentence sequencePoint(const InOutTexts& texts, const ChangedLeaf& leaf, NodeFacts& facts,
                       const Field& sequence) {
    if (isRemoved(leaf)) return sentence(texts.sequenceRemoved, sequence);
    const FrameChange change(leaf, facts);
    return sentence(texts.sequenceChanged, sequence, change.from, change.to, change.sign,
                    change.difference);
}

Sentence itemPoint(const InOutTexts& texts, const ChangedLeaf& leaf, NodeFacts& facts,
                   const Field& kind, const Field& item) {
    if (isRemoved(leaf)) return sentence(texts.itemRemoved, kind, item);
    const FrameChange change(leaf, facts);
    return sentence(texts.itemChanged, kind, item, change.from, change.to, change.sign,
                    change.difference);
}

Sentence trackClipPoint(const InOutTexts& texts, const ChangedLeaf& leaf, NodeFacts& facts,
                        const Field& track, const Field& clip) {
    if (isRemoved(leaf)) return sentence(texts.trackClipRemoved, track, clip);
    const FrameChange change(leaf, facts);
    return sentence(texts.trackClipChanged, track, clip, change.from, change.to, change.sign,
                    change.difference);
}

Sentence audioClipBound(const BoundTexts& texts, const ChangedLeaf& leaf, NodeFacts& facts,
                        const Field& clip) {
    if (isRemoved(leaf)) return sentence(texts.audioClipTransition, clip);
    const FrameChange change(leaf, facts);
    return sentence(texts.audioClipChanged, clip, change.from, change.to, change.sign,
                    change.difference);
}

Sentence clipBound(const BoundTexts& texts, const ChangedLeaf& leaf, NodeFacts& facts,
                   const Field& track, const Field& kind, const Field& clip) {
    if (isRemoved(leaf)) return sentence(texts.clipTransition, track, kind, clip);
    const FrameChange change(leaf, facts);
    return sentence(texts.clipChanged, track, kind, clip, change.from, change.to, change.sign,
                    change.difference);
}

RuleResult in(const ChangedLeaf& leaf, RuleContext& context) {
    return inOrOut(inTexts, leaf, context);
}

RuleResult out(const ChangedLeaf& leaf, RuleContext& context) {
    return inOrOut(outTexts, leaf, context);
}

RuleResult start(const ChangedLeaf& leaf, RuleContext& context) {
    return startOrEnd(startTexts, leaf, context);
}

RuleResult end(const ChangedLeaf& leaf, RuleContext& context) {
    return startOrEnd(endTexts, leaf, context);
}

RuleResult subclipStart(const ChangedLeaf& leaf, RuleContext& context) {
    const FrameChange change(leaf, context.facts);
    return sentence("Start point of subclip %@ changed from %@ to %@ (%@%i)",
                    context.facts.name(NodeFacts::clipAbove(leaf.node)), change.from, change.to,
                    change.sign, change.difference);
}

RuleResult subclipEnd(const ChangedLeaf& leaf, RuleContext& context) {
    return sentence("End point of subclip %@ changed to %@",
                    context.facts.name(NodeFacts::clipAbove(leaf.node)),
                    context.facts.timecode(leaf.nodeValue, leaf.node));
}

}  // namespace larkspan::pointrules
