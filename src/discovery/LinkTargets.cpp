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

// A scan does not get below a folder that may not be listed, whereas a link does.
bool isFoundIn(const Path& tree, const Path& folder) {
    if (!isReached(folder, tree)) return false;
    for (Path above = folder; above != tree;) {
        above = above.deletingLastPathComponent();
        if (isShut(above)) return false;
    }
    return true;
}

}  // namespace

LinkTargets::LinkTargets(const std::vector<ScannedFolder>& watched) {
    for (const ScannedFolder& tree : watched) {
        if (tree.folder.empty() || isIgnoredFolder(tree.folder.lastPathComponent())) continue;
        if (auto real = files().realPath(tree.folder)) {
            watched_.push_back({tree.folder, std::move(*real), tree.types});
        }
    }
}

bool LinkTargets::isFollowed(const Path& link, const std::vector<std::string>& types) const {
    const auto target = files().realPath(link);
    const auto place = files().realPath(link.deletingLastPathComponent());
    if (!target || !place || place->isWithin(*target)) return false;
    return !nameInTrees(*target, types);
}

Path LinkTargets::nameOf(const Path& folder, const std::vector<std::string>& types) {
    if (watched_.empty() || !links_.areOnTheWayTo(folder)) return folder;
    Path name;
    for (const std::string& component : folder.pathComponents()) {
        name = name.empty() ? Path(component) : name / component;
        const auto info = files().linkInfo(name);
        if (!info || info->kind != platform::EntryKind::symbolicLink) continue;
        const auto real = files().realPath(name);
        if (!real) continue;
        if (auto inTrees = nameInTrees(*real, types)) name = std::move(*inTrees);
    }
    return name;
}

std::optional<Path> LinkTargets::nameInTrees(const Path& real,
                                             const std::vector<std::string>& types) const {
    for (const Tree& tree : watched_) {
        if (tree.types != types || !isFoundIn(tree.real, real)) continue;
        if (real == tree.real) return tree.name;
        return tree.name / std::string_view(real.str()).substr(tree.real.str().size());
    }
    return std::nullopt;
}

}  // namespace larkspan
