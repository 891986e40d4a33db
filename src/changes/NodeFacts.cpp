#include "changes/NodeFacts.h"

#include "changes/XMLTree.h"
#include "changes/ZBXMLParser.h"

namespace larkspan {
namespace {

Field textOfElement(TreeNode node, std::string_view element) {
    auto text = xmltree::childText(node, element);
    if (!text) text = xmltree::descendantText(node, element);
    return text ? Field(*text) : std::nullopt;
}

}  // namespace

Field NodeFacts::name(TreeNode node) {
    if (!node) return std::nullopt;
    const auto [known, isNew] = names_.try_emplace(node.record());
    if (isNew) {
        known->second = ZBXMLParser::nameForNode(node);
        if (!known->second && !otherNameElement_.empty()) {
            known->second = textOfElement(node, otherNameElement_);
        }
    }
    return known->second;
}

std::string NodeFacts::timecode(std::string_view frames, TreeNode atNode) {
    const auto sequence = xmltree::ancestor(atNode, "sequence");
    if (!sequence) return timecodeFromFrames(frames, atNode);
    if (sequence != countedSequence_) {
        countedSequence_ = sequence;
        counting_ = frameCountingAround(atNode);
    }
    return timecodeFromFrames(frames, counting_);
}

std::string NodeFacts::trackWord(TreeNode node) {
    const auto word = bareTrackWord(node);
    return word ? *word + " " : "";
}

Field NodeFacts::bareTrackWord(TreeNode node) {
    for (const char* word : {"video", "audio"}) {
        if (xmltree::ancestorOrSelf(node, word)) return word;
    }
    return std::nullopt;
}

std::string NodeFacts::kindWord(TreeNode clip) {
    if (xmltree::child(clip, "subclipinfo")) return "subclip";
    return xmltree::child(clip, "stillframeoffset") ? "freeze frame" : "clip";
}

bool NodeFacts::isClip(TreeNode node) {
    const std::string_view name = xmltree::name(node);
    return name == "clip" || name == "clipitem";
}

TreeNode NodeFacts::clipAbove(TreeNode node) {
    node = node.parent();
    while (node && !isClip(node)) node = node.parent();
    return node;
}

TreeNode NodeFacts::filterAbove(TreeNode node) {
    const auto effect = xmltree::ancestor(node, "effect");
    return effect ? effect : xmltree::ancestor(node, "filter");
}

}  // namespace larkspan
