#include "changes/PropertyRules.h"

#include "changes/NameSet.h"
#include "changes/NodeHelpers.h"
#include "changes/XMLTree.h"
#include "changes/ZBXMLParser.h"

namespace larkspan::propertyrules {
namespace {

Field text(std::string_view of) {
    return std::string(of);
}

// The element whose property a leaf is: the nearest one that has properties at all.
TreeNode ownerOf(const ChangedLeaf& leaf) {
    static const NameSet owners{"sequence",       "clip",      "clipitem", "generatoritem",
                                "transitionitem", "multiclip", "marker",   "effect"};
    auto node = leaf.nodeParent;
    while (node && !owners.contains(xmltree::name(node))) node = node.parent();
    return node;
}

bool isSequence(TreeNode node) {
    return xmltree::name(node) == "sequence";
}

// "Clip", "Freeze frame" or "Subclip".
Field capitalKind(TreeNode clip) {
    return withUpperFirst(NodeFacts::kindWord(clip));
}

// A setting of a sequence (name, what it is now) or of a clip (kind, name, what it is now).
RuleResult setting(const SentenceText<Field, Field>& ofSequence,
                   const SentenceText<Field, Field, Field>& ofItem, const Field& now,
                   const ChangedLeaf& leaf, RuleContext& context) {
    const auto owner = ownerOf(leaf);
    if (isSequence(owner)) return sentence(ofSequence, context.facts.name(owner), now);
    if (!NodeFacts::isClip(owner)) return RuleResult::doesNotApply();
    return sentence(ofItem, capitalKind(owner), context.facts.name(owner), now);
}

RuleResult sequenceName(const ChangedLeaf& leaf, RuleContext& context) {
    const auto uuid = ZBXMLParser::uuidForNode(leaf.nodeParent);
    if (uuid && !context.uuids.contains(*uuid)) {
        return sentence("Sequence added: %@", text(leaf.nodeValue));
    }
    return sentence("Sequence name changed to %@", text(leaf.nodeValue));
}

RuleResult markerName(const ChangedLeaf& leaf, RuleContext& context, const Field& oldName) {
    const auto clip = context.facts.name(NodeFacts::clipAbove(leaf.node));
    const auto sequence = context.facts.name(xmltree::ancestor(leaf.node, "sequence"));
    return sentence("Marker %@ name changed to %@%@%@", oldName, text(leaf.nodeValue),
                    phrase(" for clip %@", clip), clip ? "" : phrase(" in sequence %@", sequence));
}

RuleResult keyframeValue(const ChangedLeaf& leaf, RuleContext& context) {
    NodeFacts& facts = context.facts;
    const auto when = xmltree::childText(leaf.nodeParent, "when");
    const Field time = when ? Field(facts.timecode(*when, leaf.node)) : std::nullopt;
    return sentence("Keyframe at %@ set to %@%@%@", time, text(leaf.nodeValue),
                    phrase(" for filter %@", facts.name(NodeFacts::filterAbove(leaf.node))),
                    phrase(" on clip %@", facts.name(NodeFacts::clipAbove(leaf.node))));
}

}  // namespace

RuleResult name(const ChangedLeaf& leaf, RuleContext& context) {
    const std::string_view parent = leaf.nodeParentName;
    const Field now = text(leaf.nodeValue);
    if (parent == "project") return sentence("Project name changed to %@", now);
    if (parent == "sequence") return sequenceName(leaf, context);
    const Field oldName = context.facts.name(leaf.oldNode.parent());
    if (NodeFacts::isClip(leaf.nodeParent)) {
        return sentence("%@ %@ name changed to %@", oldName, NodeFacts::kindWord(leaf.nodeParent),
                        now);
    }
    if (parent == "bin") return sentence("%@ bin name changed to %@", oldName, now);
    if (parent == "marker") return markerName(leaf, context, oldName);
    return RuleResult::doesNotApply();
}

RuleResult value(const ChangedLeaf& leaf, RuleContext& context) {
    if (leaf.nodeParentName == "keyframe") return keyframeValue(leaf, context);
    if (leaf.nodeParentName != "parameter") return RuleResult::doesNotApply();
    return sentence("%@ set to %@ for %@ Filter",
                    capitalizeFirstLetter(context.facts.name(leaf.nodeParent)),
                    text(leaf.nodeValue), context.facts.name(NodeFacts::filterAbove(leaf.node)));
}

RuleResult duration(const ChangedLeaf& leaf, RuleContext& context) {
    NodeFacts& facts = context.facts;
    const auto owner = ownerOf(leaf);
    const Field name = facts.name(owner);
    if (xmltree::name(owner) == "generatoritem") {
        return sentence("Duration changed to %@ for %@ generator",
                        facts.timecode(leaf.nodeValue, leaf.node), name);
    }
    const bool isOfSequence = isSequence(owner);
    if (!isOfSequence && !NodeFacts::isClip(owner)) return RuleResult::doesNotApply();
    const FrameChange change(leaf, facts);
    if (isOfSequence) {
        return sentence("%@ sequence duration changed from %@ to %@ (%@%li)", name, change.from,
                        change.to, change.sign, change.difference);
    }
    return sentence("%@ %@ duration changed from %@ to %@ (%@%i)", name, NodeFacts::kindWord(owner),
                    change.from, change.to, change.sign, change.difference);
}

RuleResult codec(const ChangedLeaf& leaf, RuleContext& /*context*/) {
    const auto owner = ownerOf(leaf);
    if (isSequence(owner)) return sentence("Sequence codec changed to %@", text(leaf.nodeValue));
    if (!NodeFacts::isClip(owner)) return RuleResult::doesNotApply();
    return sentence("Clip codec changed to %@", text(leaf.nodeValue));
}

RuleResult width(const ChangedLeaf& leaf, RuleContext& context) {
    return setting("%@ sequence width changed to %@", "%@ %@ width changed to %@",
                   text(leaf.nodeValue), leaf, context);
}

RuleResult height(const ChangedLeaf& leaf, RuleContext& context) {
    return setting("%@ sequence height changed to %@", "%@ %@ height changed to %@",
                   text(leaf.nodeValue), leaf, context);
}

RuleResult pixelAspectRatio(const ChangedLeaf& leaf, RuleContext& context) {
    return setting("%@ sequence pixel aspect ratio changed to %@",
                   "%@ %@ pixel aspect ratio changed to %@", text(leaf.nodeValue), leaf, context);
}

RuleResult fieldDominance(const ChangedLeaf& leaf, RuleContext& context) {
    return setting("%@ sequence field dominance changed to %@",
                   "%@ %@ field dominance changed to %@", text(leaf.nodeValue), leaf, context);
}

RuleResult timebase(const ChangedLeaf& leaf, RuleContext& context) {
    return setting("%@ sequence timebase changed to %@", "%@ %@ timebase changed to %@",
                   text(leaf.nodeValue), leaf, context);
}

RuleResult ntsc(const ChangedLeaf& leaf, RuleContext& context) {
    const Field word = leaf.nodeValue == "TRUE" ? "is" : "is not";
    return setting("%@ sequence %@ NTSC", "%@ %@ %@ NTSC", word, leaf, context);
}

RuleResult enabled(const ChangedLeaf& leaf, RuleContext& context) {
    Field word;
    if (leaf.nodeValue == "TRUE") word = "enabled";
    if (leaf.nodeValue == "FALSE") word = "disabled";
    if (leaf.nodeParentName == "filter" || leaf.nodeParentName == "effect") {
        return sentence("%@ filter for clip %@ %@", context.facts.name(leaf.nodeParent),
                        context.facts.name(NodeFacts::clipAbove(leaf.node)), word);
    }
    return setting("%@ sequence %@", "%@ %@ %@", word, leaf, context);
}

RuleResult alphaType(const ChangedLeaf& leaf, RuleContext& context) {
    static const NameSet owners{"generatoritem", "effect",   "filter",
                                "clip",          "clipitem", "sequence"};
    auto owner = leaf.nodeParent;
    while (owner && !owners.contains(xmltree::name(owner))) owner = owner.parent();
    const Field name = context.facts.name(owner);
    const Field now = text(leaf.nodeValue);
    const std::string_view kind = xmltree::name(owner);
    if (kind == "generatoritem")
        return sentence("Alpha type for generator %@ set to %@", name, now);
    if (kind == "effect" || kind == "filter") {
        return sentence("Alpha type for filter %@ set to %@", name, now);
    }
    if (!NodeFacts::isClip(owner)) return RuleResult::doesNotApply();
    return sentence("Alpha type for clip %@ set to %@", name, now);
}

RuleResult alignment(const ChangedLeaf& leaf, RuleContext& context) {
    const auto transition = xmltree::ancestor(leaf.node, "transitionitem");
    if (!transition) return RuleResult::doesNotApply();
    return sentence("Transition aligment set to %@ for %@", text(leaf.nodeValue),
                    context.facts.name(transition));
}

RuleResult comment(const ChangedLeaf& leaf, RuleContext& context) {
    if (leaf.nodeParentName != "marker") return RuleResult::doesNotApply();
    return sentence("%@ marker description changed to %@", context.facts.name(leaf.nodeParent),
                    text(leaf.nodeValue));
}

RuleResult shotTake(const ChangedLeaf& leaf, RuleContext& context) {
    return sentence("Shot changed to %@ for clip %@", text(leaf.nodeValue),
                    context.facts.name(NodeFacts::clipAbove(leaf.node)));
}

RuleResult scene(const ChangedLeaf& leaf, RuleContext& context) {
    return sentence("Scene changed to %@ for clip %@", text(leaf.nodeValue),
                    context.facts.name(NodeFacts::clipAbove(leaf.node)));
}

}  // namespace larkspan::propertyrules
