#include "platform/linux/SilentTrees.h"

#include "platform/FileEvents.h"

#include <algorithm>
#include <utility>

namespace larkspan::platform {

void SilentTrees::setTreesOf(size_t root, std::vector<std::string> trees) {
    if (trees.empty()) {
        ofRoots_.erase(root);
    } else {
        ofRoots_.insert_or_assign(root, std::move(trees));
    }
}

// Each once, in order.
std::vector<std::string> SilentTrees::trees() const {
    std::vector<std::string> all;
    for (const auto& [root, trees] : ofRoots_) all.insert(all.end(), trees.begin(), trees.end());
    std::ranges::sort(all);
    all.erase(std::ranges::unique(all).begin(), all.end());
    return all;
}

bool SilentTrees::isKnown(const std::string& tree) const {
    return std::ranges::binary_search(known_, tree);
}

bool SilentTrees::hasNew() const {
    return !std::ranges::all_of(ofRoots_, [&](const auto& ofRoot) {
        return std::ranges::all_of(ofRoot.second, [&](const auto& tree) { return isKnown(tree); });
    });
}

void SilentTrees::begin() {
    looking_ = trees();
    folders_.begin(looking_);
}

void SilentTrees::goOn(const std::function<bool()>& pause, const Changed& changed) {
    std::vector<std::string> fresh;
    std::ranges::copy_if(looking_, std::back_inserter(fresh),
                         [&](const std::string& tree) { return !isKnown(tree); });
    folders_.goOn(pause, [&](const std::string& folder) {
        const bool isFresh = std::ranges::any_of(
            fresh, [&](const std::string& tree) { return folder.starts_with(tree); });
        if (!isFresh) changed(folder, 0);
    });
    if (folders_.isLooking()) return;
    for (std::string& tree : fresh) changed(std::move(tree), FileEventFlag::mustScanSubfolders);
    known_ = std::exchange(looking_, {});
}

std::string SilentTrees::notice(size_t root, const std::string& rootPath) const {
    const auto found = ofRoots_.find(root);
    if (found == ofRoots_.end()) return "";
    const std::string& tree = found->second.front();
    return (tree == rootPath ? "" : tree + ": ") +
           "This file system reports no changes of others; it is looked through every 30 seconds.";
}

}  // namespace larkspan::platform
