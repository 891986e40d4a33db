#include "changes/SubClips.h"

#include "changes/XMLTree.h"
#include "kit/ConsoleReport.h"

namespace larkspan {
namespace {

Field attribute(TreeNode node, const char* name) {
    const auto found = node.attribute(name);
    return found ? Field(found.value()) : std::nullopt;
}

Field nameOf(TreeNode subClip) {
    const auto name = xmltree::childText(subClip, "Name");
    if (!name) return std::nullopt;
    reportDetailToConsole("subclip: %@", cutForShowing(*name));
    return std::string(*name);
}

}  // namespace

SubClips::Key SubClips::key(TreeNode parent, const std::string& objectID) {
    return {parent.record(), objectID};
}

void SubClips::lookThrough(TreeNode document) {
    if (isFilled_) return;
    isFilled_ = true;
    for (auto node = xmltree::firstElement(document); node; node = xmltree::next(node)) {
        if (xmltree::name(node) != "SubClip") continue;
        if (const auto id = attribute(node, "ObjectID")) {
            byObjectID_.try_emplace(key(node.parent(), *id), node);
        }
        for (const TreeNode clip : node.children()) {
            if (xmltree::name(clip) != "Clip") continue;
            const auto reference = attribute(clip, "ObjectRef");
            if (reference) byClip_.try_emplace(key(node.parent(), *reference), node);
        }
    }
}

Field SubClips::nameForClip(TreeNode clip) {
    reportDetailToConsole("parenttype: %@", clip.name());
    const auto id = attribute(clip, "ObjectID");
    if (!id) return std::nullopt;
    lookThrough(clip.document());
    const auto found = byClip_.find(key(clip.parent(), *id));
    return found == byClip_.end() ? std::nullopt : nameOf(found->second);
}

Field SubClips::nameForTrackItem(TreeNode item) {
    const auto id = attribute(xmltree::child(item, "SubClip"), "ObjectRef");
    if (!id) return std::nullopt;
    reportDetailToConsole("subclip id: %@", cutForShowing(*id));
    lookThrough(item.document());
    for (auto parent = item.parent(); parent; parent = parent.parent()) {
        const auto found = byObjectID_.find(key(parent, *id));
        if (found != byObjectID_.end()) return nameOf(found->second);
    }
    return std::nullopt;
}

}  // namespace larkspan
