#include "changes/NodeFacts.h"

#include "changes/XMLTree.h"
#include "changes/ZBXMLParser.h"

namespace larkspan {
namespace {

Field textOfElement(pugi::xml_node node, std::string_view element) {
    auto text = xmltree::childText(node, element);
    if (!text) text = xmltree::descendantText(node, element);
    return text ? Field(*text) : std::nullopt;
}

}  // namespace

Field NodeFacts::name(pugi::xml_node node) {
    if (!node) return std::nullopt;
    const auto [known, isNew] = names_.try_emplace(node.internal_object());
    if (isNew) {
        known->second = ZBXMLParser::nameForNode(node);
        if (!known->second && !otherNameElement_.empty()) {
            known->second = textOfElement(node, otherNameElement_);
        }
    }
    return known->second;
}

std::string NodeFacts::timecode(std::string_view frames, pugi::xml_node atNode) {
    const auto sequence = xmltree::ancestor(atNode, "sequence");
    if (!sequence) return timecodeFromFrames(frames, atNode);
    if (sequence != countedSequence_) {
        countedSequence_ = sequence;
        counting_ = frameCountingAround(atNode);
    }
    return timecodeFromFrames(frames, counting_);
}

std::string NodeFacts::trackWord(pugi::xml_node node) {
    const auto word = bareTrackWord(node);
    return word ? *word + " " : "";
}

Field NodeFacts::bareTrackWord(pugi::xml_node node) {
    for (const char* word : {"video", "audio"}) {
        if (xmltree::ancestorOrSelf(node, word)) return word;
    }
    return std::nullopt;
}

std::string NodeFacts::kindWord(pugi::xml_node clip) {
    if (xmltree::child(clip, "subclipinfo")) return "subclip";
    return xmltree::child(clip, "stillframeoffset") ? "freeze frame" : "clip";
}

bool NodeFacts::isClip(pugi::xml_node node) {
    const std::string_view name = xmltree::name(node);
    return name == "clip" || name == "clipitem";
}

pugi::xml_node NodeFacts::clipAbove(pugi::xml_node node) {
    node = node.parent();
    while (node && !isClip(node)) node = node.parent();
    return node;
}

pugi::xml_node NodeFacts::filterAbove(pugi::xml_node node) {
    const auto effect = xmltree::ancestor(node, "effect");
    return effect ? effect : xmltree::ancestor(node, "filter");
}

}  // namespace larkspan
