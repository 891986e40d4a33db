#include "platform/linux/RootWatch.h"

#include "foundation/Error.h"
#include "foundation/MessageText.h"
#include "foundation/Text.h"
#include "platform/linux/WatchErrors.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace larkspan::platform {
namespace {

// Kept quiet: folders above a root may be busy ones. IN_MASK_ADD, since they may be watched as a
// part of another root.
constexpr std::uint32_t selfMask = IN_DELETE_SELF | IN_MOVE_SELF | IN_MASK_ADD;
constexpr std::uint32_t linkMask = selfMask | IN_ATTRIB | IN_DONT_FOLLOW;
constexpr std::uint32_t awaitMask =
    selfMask | IN_CREATE | IN_MOVED_TO | IN_ATTRIB | IN_ONLYDIR | IN_EXCL_UNLINK;

// Each link to a folder has some watches of its own on the way to it.
constexpr size_t mostLinks = 1000;

}  // namespace

RootWatch::RootWatch(Inotify& inotify, FolderWatch& folders, std::vector<Path> roots,
                     const TreeExclusion& exclusion, WatchReports reports)
    : inotify_(inotify), folders_(folders), exclusion_(exclusion), reports_(std::move(reports)) {
    for (Path& given : roots) roots_.emplace_back().given = std::move(given);
}

void RootWatch::handle(const InotifyEvent& event) {
    constexpr std::uint32_t selfEvents = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED;
    constexpr std::uint32_t nameEvents = IN_CREATE | IN_MOVED_TO | IN_ATTRIB;
    if ((event.mask & (selfEvents | nameEvents)) == 0) return;
    for (const Step& step : steps_) {
        if (step.watch != event.watch) continue;
        if ((event.mask & IN_MOVE_SELF) != 0) {
            // It may be back under its name already; looks below it failed meanwhile.
            mark(step.root, Look::moved);
        } else if ((event.mask & selfEvents) != 0 || event.name.empty() ||
                   event.name == step.awaited) {
            mark(step.root, Look::whereItIs);
        }
    }
}

void RootWatch::mountsChanged(const std::vector<Mount>& mounts) {
    for (size_t root = 0; root < roots_.size(); ++root) {
        mark(root, Look::whereItIs);
        if (roots_[root].folder == 0) continue;
        for (const Mount& mount : mounts) {
            const std::string_view below = pathBelow(root, mount);
            if (!below.empty()) folders_.mounted(root, below);
        }
    }
}

// Where in the root something is mounted; "" when it is elsewhere.
std::string_view RootWatch::pathBelow(size_t root, const Mount& mount) const {
    const std::string& inside = roots_[root].realPath;
    std::string_view point = mount.point.str();
    if (inside.empty() || !point.starts_with(inside)) return {};
    point.remove_prefix(inside.size());
    if (inside.ends_with('/')) return point;
    return point.starts_with('/') ? point.substr(1) : std::string_view();
}

std::vector<std::string> RootWatch::silentTrees(size_t root,
                                                const std::vector<Mount>& mounts) const {
    std::vector<std::string> trees;
    const auto add = [&](std::string_view below) {
        std::string path = folders_.knownPath(root, below);
        const bool isCovered = std::ranges::any_of(
            trees, [&](const std::string& tree) { return path.starts_with(tree); });
        if (!path.empty() && !isCovered) trees.push_back(std::move(path));
    };
    for (const Mount& mount : mounts) {
        if (mount.device == roots_[root].device && isSilentType(mount.type)) add("");
    }
    for (auto mount = mounts.begin(); mount != mounts.end(); ++mount) {
        const std::string_view below = pathBelow(root, *mount);
        if (below.empty() || !isSilentType(mount->type)) continue;
        const bool isHidden = std::any_of(mount + 1, mounts.end(), [&](const Mount& later) {
            return later.point == mount->point;
        });
        if (!isHidden) add(below);
    }
    return trees;
}

bool RootWatch::needsLook() const {
    return std::ranges::any_of(roots_, [](const Root& root) { return root.look != Look::none; });
}

bool RootWatch::needsFirstLook() const {
    return std::ranges::any_of(roots_, [](const Root& root) { return root.look == Look::first; });
}

std::optional<size_t> RootWatch::lookAtNext() {
    size_t root = std::min(nextLook_, roots_.size());
    while (root < roots_.size() && roots_[root].look == Look::none) ++root;
    nextLook_ = root + 1;
    if (root == roots_.size()) {
        nextLook_ = 0;
        return std::nullopt;
    }
    const bool isFirst = roots_[root].look == Look::first;
    folders_.setReporting(!isFirst);
    look(root);
    folders_.setReporting(true);
    addLinks();
    return isFirst ? std::optional(root) : std::nullopt;
}

bool RootWatch::hasUnwatchedWay() const {
    return std::any_of(roots_.begin(), roots_.end(),
                       [](const Root& root) { return !root.wayIsWatched; });
}

void RootWatch::lookForUnwatched() {
    for (size_t root = 0; root < roots_.size(); ++root) {
        if (!roots_[root].wayIsWatched) mark(root, Look::whereItIs);
    }
}

void RootWatch::mark(size_t root, Look look) {
    if (roots_[root].isOver) return;
    roots_[root].look = std::max(roots_[root].look, look);
}

// The folder that an earlier root lost may lie below a later one, too.
void RootWatch::markLater(size_t root) {
    for (size_t later = root + 1; later < roots_.size(); ++later) mark(later, Look::wholeTree);
}

void RootWatch::look(size_t index) {
    Root& root = roots_[index];
    const Look look = std::exchange(root.look, Look::none);
    const int before = root.folder;
    const bool wasThere = root.problem.empty();
    leaveWay(index);
    if (root.isLink && linkTarget(root.given.str()) == LinkTarget::isNoLink) return giveUp(index);
    const TrailEnd end = follow(index);
    root.realPath = end.error == 0 ? withoutDots(end.folder) : "";
    const bool isThere = end.error == 0 && mayWatch(root);
    if (isThere) {
        root.device = deviceOf(end.folder);
        const bool relist = look == Look::wholeTree || look == Look::moved;
        const int folder = folders_.watchRoot(index, relist);
        if (isGone(-folder)) mark(index, Look::whereItIs);
        root.folder = std::max(folder, 0);
        root.problem.clear();
        if (root.folder > 0) steps_.push_back({root.folder, index, ""});
    } else {
        folders_.loseRoot(index);
        root.device.clear();
        root.folder = 0;
        const int error = end.error == 0 ? ELOOP : end.error;
        root.problem = posixError(error, root.given.str()).description;
        root.realPath.clear();
    }
    if (before > 0 && root.folder != before) markLater(index);
    const bool changed =
        root.folder != before || isThere != wasThere || (look == Look::moved && isThere);
    if (changed && look != Look::first) {
        reports_.changed(folders_.rootPath(index), FileEventFlag::rootChanged);
    }
}

void RootWatch::addLinks() {
    std::vector<std::string> links = folders_.takeLinks();
    std::ranges::sort(links, pathListingOrder);
    for (const std::string& link : links) addLink(link);
}

void RootWatch::addLink(const std::string& path) {
    size_t place = roots_.size();
    size_t links = 0;
    for (size_t root = 0; root < roots_.size(); ++root) {
        if (roots_[root].isLink && roots_[root].given.str() == path) {
            return mark(root, Look::whereItIs);
        }
        if (roots_[root].isOver) place = std::min(place, root);
        if (roots_[root].isLink && !roots_[root].isOver) ++links;
    }
    if (links >= mostLinks) {
        return reports_.problem(messageText("Only %li links to folders are followed for changes.",
                                            static_cast<long>(mostLinks)));
    }
    if (place == roots_.size()) roots_.emplace_back();
    roots_[place] = Root{};
    roots_[place].given = Path(path);
    roots_[place].isLink = true;
    folders_.setRootPath(place, path + '/');
}

// docs/behaviour.md, own 15
bool RootWatch::mayWatch(const Root& root) const {
    if (!root.isLink) return true;
    const Path target(root.realPath);
    for (const char* const system : {"/proc", "/sys", "/dev"}) {
        if (target.isWithin(Path(system))) return false;
    }
    const Path place(withoutDots(root.given.deletingLastPathComponent().str()));
    return !place.isWithin(target) && !exclusion_.isInExcludedTree(root.realPath);
}

// The link is gone. What it led to may be known by another one.
void RootWatch::giveUp(size_t index) {
    folders_.loseRoot(index);
    roots_[index] = Root{};
    roots_[index].look = Look::none;
    roots_[index].isLink = true;
    roots_[index].isOver = true;
    markLater(index);
}

void RootWatch::leaveWay(size_t root) {
    std::vector<int> left;
    std::erase_if(steps_, [&](const Step& step) {
        if (step.root == root) left.push_back(step.watch);
        return step.root == root;
    });
    for (const int watch : left) {
        const bool used = folders_.contains(watch) ||
                          std::any_of(steps_.begin(), steps_.end(),
                                      [&](const Step& step) { return step.watch == watch; });
        if (!used) inotify_.forget(watch);
    }
}

// Follows the root's path and puts watches on the way.
TrailEnd RootWatch::follow(size_t root) {
    const auto visit = [&](const std::string& place, bool isLink) {
        step(root, place, isLink ? linkMask : selfMask | IN_ONLYDIR, "");
    };
    roots_[root].wayIsWatched = true;
    TrailEnd end = followTrail(roots_[root].given.str(), visit);
    if (end.error == 0 || end.awaited.empty()) return end;
    // The last folder is watched for the missing name, then the name is looked for once more: it
    // may have come meanwhile.
    const int watch = step(root, end.folder, awaitMask, end.awaited);
    TrailEnd again = followTrail(roots_[root].given.str(), visit);
    // Nothing tells when an error passes by, or who may look where the watch may not.
    const bool endIsTold = watch != -EACCES && (isGone(again.error) || isRefusal(again.error));
    if (!endIsTold && again.error != 0) roots_[root].wayIsWatched = false;
    if (again.error != 0 && (again.folder != end.folder || again.awaited != end.awaited)) {
        mark(root, Look::whereItIs);
    }
    return again;
}

int RootWatch::step(size_t root, const std::string& place, std::uint32_t mask,
                    std::string awaited) {
    const int watch = inotify_.watch(place, mask);
    if (watch > 0) steps_.push_back({watch, root, std::move(awaited)});
    if (isGone(-watch)) {  // a moment ago it was there
        mark(root, Look::whereItIs);
    } else if (watch < 0 && watch != -EACCES) {
        // A folder that only may not be read hides little: that it is moved.
        roots_[root].wayIsWatched = false;
    }
    return watch;
}

WatchedRoot RootWatch::state(size_t root) const {
    const Root& kept = roots_[root];
    if (kept.look == Look::first) {
        return {.path = kept.given,
                .watched = true,
                .problem = "",
                .notice = "Being looked through for the first time."};
    }
    return {.path = kept.given,
            .watched = kept.folder > 0,
            .problem = kept.problem.empty() ? folders_.problem(root) : kept.problem,
            .notice = ""};
}

}  // namespace larkspan::platform
