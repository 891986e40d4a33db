#include "changes/DiffWalk.h"

#include "changes/XMLTree.h"
#include "changes/ZBXMLParser.h"
#include "kit/ZBLog.h"

namespace larkspan {

bool DiffWalk::run(TreeNode newNode, TreeNode baseNode, const Cancellation& cancellation) {
    new_ = newNode;
    base_ = baseNode;
    while (new_) {
        if (cancellation.isWanted && cancellation.isWanted()) {
            ZBLog::appendLog("Change log generation was cancelled");
            if (cancellation.endProgress) cancellation.endProgress();
            return false;
        }
        step();
    }
    return true;
}

void DiffWalk::step() {
    const char* name = new_.name();
    const bool areAlike = base_ && xmltree::areSame(base_.name(), name);
    if (dialect_.bookkeeping.contains(name)) {
        new_ = xmltree::following(new_);
        if (areAlike) base_ = xmltree::following(base_);
    } else if (areAlike) {
        compareAlike();
    } else {
        enterNewElement();
    }
}

void DiffWalk::compareAlike() {
    const bool holdNodes = new_.firstChild() || base_.firstChild();
    // Most elements hold a text and nothing else, and most texts are as they were.
    if (!holdNodes && xmltree::areSame(new_.value(), base_.value())) {
        new_ = xmltree::following(new_);
        base_ = xmltree::following(base_);
        return;
    }
    const bool areLeaves = xmltree::hasAtMostOneChild(new_) && xmltree::hasAtMostOneChild(base_);
    if (areLeaves && values_.differ(new_, base_)) {
        if (isPassedOver()) {
            new_ = xmltree::following(new_);
            base_ = xmltree::following(base_);
            return;
        }
        sentences_.add(changeSentence());
    }
    new_ = xmltree::next(new_);
    base_ = xmltree::next(base_);
}

bool DiffWalk::isPassedOver() const {
    const bool isAngle =
        xmltree::name(new_) == "angle" && xmltree::name(new_.parent()) == "multiclip";
    return isAngle || xmltree::ancestor(new_, "timecode");
}

Sentence DiffWalk::changeSentence() {
    const auto parent = new_.parent();
    const std::string_view parentName = xmltree::name(parent);
    if (xmltree::name(new_) == "name") {
        if (parentName == "effect") return effectName();
        const auto uuid =
            parentName == "sequence" ? ZBXMLParser::uuidForNode(parent) : std::nullopt;
        if (uuid && !known_.containsUUID(*uuid)) {
            return sentence("New sequence added: %@", facts_.name(parent));
        }
    }
    return leafSentences_.about({.node = new_,
                                 .nodeName = xmltree::name(new_),
                                 .nodeValue = values_.newValue(),
                                 .nodeParent = parent,
                                 .nodeParentName = parentName,
                                 .oldNode = base_,
                                 .oldValue = values_.oldValue()});
}

Sentence DiffWalk::effectName() {
    if (const auto generator = xmltree::ancestor(new_, "generatoritem")) {
        return sentence("New generator added: %@", facts_.name(generator));
    }
    if (isBuiltInClipAttribute(values_.newValue())) return std::nullopt;
    return sentence("New filter added: %@", values_.newValue());
}

void DiffWalk::enterNewElement() {
    bool isNewBin = false;
    if (isAnnounced(xmltree::name(new_)) && !known_.contains(new_)) {
        auto added = additionSentence(new_, facts_);
        isNewBin = added && xmltree::name(new_) == "bin";
        sentences_.add(std::move(added));
    }
    if (base_) {
        if (realignment_.baseNode() != base_) realignment_ = BaseRealignment(base_);
        if (const auto behind = realignment_.nodeLike(new_)) base_ = xmltree::next(behind);
    }
    new_ = isNewBin ? xmltree::following(new_) : xmltree::next(new_);
}

}  // namespace larkspan
