#include "discovery/LinkTargets.h"

#include "discovery/FolderNames.h"
#include "foundation/Error.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <algorithm>
#include <cerrno>

namespace larkspan {
namespace {

platform::Files& files() {
    return platform::Platform::current().files;
}

bool isShut(const Path& folder) {
    const auto opened = files().openFolder(folder);
    return !opened && opened.error().is(posixErrorDomain, EACCES);
}

}  // namespace

LinkTargets::LinkTargets(const std::vector<ScannedFolder>& watched) {
    for (const ScannedFolder& tree : watched) {
        if (tree.folder.empty() || isIgnoredFolder(tree.folder.lastPathComponent())) continue;
        if (auto real = files().realPath(tree.folder)) {
            watched_.push_back({std::move(*real), tree.types, WithSubfolders::yes});
        }
    }
}

bool LinkTargets::isFollowed(const Path& link, const std::vector<std::string>& types) const {
    const auto target = files().realPath(link);
    const auto place = files().realPath(link.deletingLastPathComponent());
    if (!target || !place || place->isWithin(*target)) return false;
    return std::ranges::none_of(watched_, [&](const ScannedFolder& tree) {
        return tree.types == types && isFoundIn(tree, *target);
    });
}

// A scan does not get below a folder that may not be listed, whereas a link does.
bool LinkTargets::isFoundIn(const ScannedFolder& tree, const Path& folder) const {
    if (!isReached(folder, tree.folder)) return false;
    for (Path above = folder; above != tree.folder;) {
        above = above.deletingLastPathComponent();
        if (isShut(above)) return false;
    }
    return true;
}

}  // namespace larkspan
