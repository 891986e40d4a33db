#include "platform/linux/FolderWatch.h"

#include "foundation/Error.h"
#include "foundation/MessageText.h"
#include "platform/linux/RootTrail.h"
#include "platform/linux/WatchErrors.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <utility>

#include <unistd.h>

namespace larkspan::platform {
namespace {

// Changes of the entries and contents of a folder.
constexpr std::uint32_t changeMask =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE | IN_MODIFY | IN_ATTRIB;
constexpr std::uint32_t rootMask =
    changeMask | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;
constexpr std::uint32_t folderMask = rootMask | IN_DONT_FOLLOW;

}  // namespace

FolderWatch::FolderWatch(Inotify& inotify, std::vector<std::string> rootPaths,
                         const TreeExclusion& exclusion, WatchReports reports)
    : inotify_(inotify),
      exclusion_(exclusion),
      reports_(std::move(reports)),
      tree_(std::move(rootPaths)),
      roots_(tree_.rootCount()),
      unwatched_(exclusion, reports_.stopping) {}

int FolderWatch::watchRoot(size_t root, bool relist) {
    const std::string& path = tree_.rootPath(root);
    const int parent = WatchTree::rootParent(root);
    int folder = inotify_.watch(path, rootMask);
    if (folder != roots_[root].folder) {
        loseRoot(root);
        // Once more, since the folder may have been one below the root's old one.
        folder = inotify_.watch(path, rootMask);
    }
    if (folder < 0) {
        notWatched(parent, "", path, -folder);
    } else if (!tree_.contains(folder)) {
        tree_.insert(folder, parent, "");
        waiting_.push_back(folder);
        report(folder);
    } else if (tree_.rootOf(folder) > root) {
        moveHere(folder, parent, "");
    } else if (relist) {
        const auto all = tree_.subtree(folder);
        waiting_.insert(waiting_.end(), all.begin(), all.end());
    } else if (tree_.isIncomplete(folder)) {
        waiting_.push_back(folder);
    }
    roots_[root].folder = std::max(folder, 0);
    if (folder > 0) problemSolved(path);
    listWaiting();
    return folder;
}

bool FolderWatch::isKnownByRoot(size_t root) const {
    return tree_.isAt(roots_[root].folder, WatchTree::rootParent(root), "");
}

void FolderWatch::setRootPath(size_t root, std::string path) {
    tree_.setRootPath(root, std::move(path));
    roots_.resize(tree_.rootCount());
    roots_[root] = {};
}

void FolderWatch::loseRoot(size_t root) {
    const int folder = std::exchange(roots_[root].folder, 0);
    if (tree_.isAt(folder, WatchTree::rootParent(root), "")) forget(folder);
    std::erase(unwatchedTops_, UnwatchedTop{WatchTree::rootParent(root), ""});
}

void FolderWatch::mounted(size_t root, std::string_view relativePath) {
    const size_t slash = relativePath.rfind('/');
    const bool isDeep = slash != std::string_view::npos;
    const int folder = folderAt(root, isDeep ? relativePath.substr(0, slash) : "");
    if (folder == 0) return;
    const std::string_view name = relativePath.substr(isDeep ? slash + 1 : 0);
    found(folder, name, tree_.path(folder).append(name));
    listWaiting();
}

// 0 when that folder is not watched.
int FolderWatch::folderAt(size_t root, std::string_view relativePath) const {
    int folder = roots_[root].folder;
    while (tree_.contains(folder) && !relativePath.empty()) {
        const size_t end = std::min(relativePath.find('/'), relativePath.size());
        folder = tree_.child(folder, relativePath.substr(0, end));
        relativePath.remove_prefix(std::min(end + 1, relativePath.size()));
    }
    return tree_.contains(folder) ? folder : 0;
}

std::string FolderWatch::knownPath(size_t root, std::string_view relativePath) const {
    const int folder = folderAt(root, relativePath);
    return folder == 0 ? "" : tree_.path(folder);
}

void FolderWatch::handle(const InotifyEvent& event) {
    const int folder = event.watch;
    if (!tree_.contains(folder)) return;
    const bool isSubfolder = (event.mask & IN_ISDIR) != 0 && !event.name.empty();
    if ((event.mask & changeMask) != 0) report(folder);
    const bool appeared = (event.mask & (IN_CREATE | IN_MOVED_TO)) != 0;
    const bool allowed = (event.mask & IN_ATTRIB) != 0 && tree_.isIncomplete(folder);
    if (appeared && !isSubfolder && !event.name.empty()) {
        noteLink(event.name, tree_.path(folder).append(event.name));
    }
    if (isSubfolder && (appeared || allowed)) {
        found(folder, event.name, tree_.path(folder).append(event.name));
    } else if (allowed && event.name.empty()) {
        waiting_.push_back(folder);
    } else if ((event.mask & IN_MOVE_SELF) != 0) {
        movedAway(folder);
    } else if ((event.mask & IN_UNMOUNT) != 0) {
        unmounted(folder);
    } else if ((event.mask & IN_IGNORED) != 0) {
        forget(folder);
    }
    if (!waiting_.empty() || !unwatchedTrees_.empty()) listWaiting();
}

// A folder stands at that place: watches it when it is new, puts it there when it has moved.
void FolderWatch::found(int parent, std::string_view name, const std::string& path) {
    if (exclusion_.excludes(name, path)) return;  // docs/behaviour.md, own 13
    if (path.size() >= PATH_MAX) return notWatched(parent, name, path, ENAMETOOLONG);
    const int folder = inotify_.watch(path, folderMask);
    if (folder < 0) {
        notWatched(parent, name, path, -folder);
        return;
    }
    problemSolved(path);
    if (tree_.contains(folder)) {
        foundAgain(folder, parent, name);
    } else {
        tree_.insert(folder, parent, name);
        waiting_.push_back(folder);
        report(folder);
    }
}

void FolderWatch::foundAgain(int folder, int parent, std::string_view name) {
    if (tree_.isAt(folder, parent, name)) {
        if (tree_.isIncomplete(folder)) waiting_.push_back(folder);
        return;
    }
    if (tree_.isWithin(parent, folder)) return;  // a folder mounted again below itself
    // One folder by two ways, over two roots or two mounts: the first root keeps it.
    if (tree_.rootOf(folder) <= tree_.rootOf(parent) && isInPlace(folder)) return;
    // The parent has gone elsewhere itself; what it holds is looked for where it is found again.
    if (!isInPlace(parent)) return;
    moveHere(folder, parent, name);
}

void FolderWatch::notWatched(int parent, std::string_view name, const std::string& path,
                             int error) {
    if (isGone(error)) return;
    const size_t root = tree_.rootOf(parent);
    if (error == ENAMETOOLONG) {
        noteProblem(root, path, messageText("Not watched, its path is too long: %@", path));
    } else if (isRefusal(error)) {
        if (parent > 0) tree_.setIncomplete(parent, true);
        noteProblem(root, path, posixError(error, "Not watched: " + path).description);
    } else {
        if (unwatchedTops_.empty()) {
            reports_.problem(posixError(error,
                                        "Folders are looked at by a timer, since the "
                                        "system watches no more of them")
                                 .description);
        }
        addUnwatched(parent, name, path);
    }
}

void FolderWatch::addUnwatched(int parent, std::string_view name, const std::string& path) {
    UnwatchedTop top{parent, std::string(name)};
    if (std::find(unwatchedTops_.begin(), unwatchedTops_.end(), top) != unwatchedTops_.end()) {
        return;
    }
    unwatchedTops_.push_back(std::move(top));
    unwatchedTrees_.push_back(path.ends_with('/') ? path : path + '/');
}

void FolderWatch::listWaiting() {
    if (!waiting_.empty()) {
        FolderListing listing;
        while (!waiting_.empty() && !reports_.stopping()) {
            const int folder = waiting_.back();
            waiting_.pop_back();
            list(folder, listing);
        }
        std::vector<int>().swap(waiting_);
    }
    for (const std::string& tree : std::exchange(unwatchedTrees_, {})) {
        unwatched_.add(tree, [this](const std::string& folder) {
            if (reporting_) reports_.changed(folder, 0);
        });
    }
}

void FolderWatch::list(int folder, FolderListing& listing) {
    if (!tree_.contains(folder)) return;
    tree_.setIncomplete(folder, false);
    std::string path = tree_.path(folder);
    const size_t length = path.size();
    // Only a root may be a link.
    if (!tree_.isRoot(folder)) path.pop_back();
    std::string entry;
    const int error = listing.list(path, [&](int, const char* name, FolderListing::Kind kind) {
        // Where the file system does not tell, the watch does: it refuses all but folders.
        if (kind == FolderListing::Kind::other || reports_.stopping()) return;
        if (entry.empty()) entry.assign(path).resize(length, '/');
        entry.resize(length);
        entry.append(name);
        if (kind != FolderListing::Kind::folder) noteLink(name, entry);
        if (kind != FolderListing::Kind::symbolicLink) found(folder, name, entry);
    });
    if (error == 0) problemSolved(path);
    if (error == 0 || isGone(error)) return;
    const int parent = tree_.parent(folder);
    notWatched(parent, std::string(tree_.name(folder)), path, error);
    tree_.setIncomplete(folder, true);
}

// docs/behaviour.md, own 15. A relative link that leads nowhere is a mark that a program set; an
// absolute one may lead to a volume that comes later.
void FolderWatch::noteLink(std::string_view name, const std::string& path) {
    const LinkTarget target = linkTarget(path);
    if (target == LinkTarget::isNoLink || target == LinkTarget::otherItem) return;
    char first = 0;
    const bool isMark =
        target == LinkTarget::missing && (::readlink(path.c_str(), &first, 1) != 1 || first != '/');
    if (isMark) return;
    if (!exclusion_.excludes(name, path)) links_.push_back(path);
}

// Whether the path under which the folder is known still leads to it, and to each of those above
// it: a link that came in the place of one leads elsewhere, and maybe back to the folder.
bool FolderWatch::isInPlace(int folder) {
    for (int above = folder; above > 0; above = tree_.parent(above)) {
        if (!isLedTo(above)) return false;
    }
    return true;
}

bool FolderWatch::isLedTo(int folder) {
    std::string path = tree_.path(folder);
    const bool isRoot = tree_.isRoot(folder);
    if (!isRoot) path.pop_back();
    const int there = inotify_.watch(path, isRoot ? rootMask : folderMask);
    // Another folder is found by the event that tells of it; until then it stays unwatched.
    if (there > 0 && !tree_.contains(there)) inotify_.forget(there);
    return there == folder;
}

void FolderWatch::moveHere(int folder, int parent, std::string_view name) {
    tree_.move(folder, parent, name);
    for (const int below : tree_.subtree(folder)) {
        waiting_.push_back(below);
        report(below);
    }
}

void FolderWatch::forget(int folder) {
    const std::vector<int> all = tree_.subtree(folder);
    for (auto below = all.rbegin(); below != all.rend(); ++below) {
        inotify_.forget(*below);
        tree_.erase(*below);
        if (!unwatchedTops_.empty()) {
            std::erase_if(unwatchedTops_,
                          [&](const UnwatchedTop& top) { return top.parent == *below; });
        }
    }
    lastReported_ = 0;
}

// A folder that moved to a watched place has been put there when its new name was told.
void FolderWatch::movedAway(int folder) {
    if (!tree_.isRoot(folder) && !isInPlace(folder)) forget(folder);
}

// What the mount covered comes to light again.
void FolderWatch::unmounted(int folder) {
    if (tree_.isRoot(folder)) return;
    const int parent = tree_.parent(folder);
    const std::string name(tree_.name(folder));
    forget(folder);
    report(parent);
    found(parent, name, tree_.path(parent).append(name));
}

void FolderWatch::report(int folder) {
    if (!reporting_ || folder == lastReported_) return;
    lastReported_ = folder;
    reports_.changed(tree_.path(folder), 0);
}

void FolderWatch::noteProblem(size_t root, const std::string& path, const std::string& problem) {
    if (!roots_[root].problem.empty()) return;
    roots_[root].problem = problem;
    roots_[root].problemPath = path;
    hasProblems_ = true;
}

void FolderWatch::problemSolved(const std::string& path) {
    if (!hasProblems_) return;
    for (RootState& root : roots_) {
        if (root.problemPath == path) root.problem.clear();
    }
}

std::string FolderWatch::problem(size_t root) const {
    const bool partly =
        std::any_of(unwatchedTops_.begin(), unwatchedTops_.end(),
                    [&](const UnwatchedTop& top) { return tree_.rootOf(top.parent) == root; });
    if (partly) return "The system watches no more folders; the rest is looked at by a timer.";
    return roots_[root].problem;
}

std::string FolderWatch::topPath(const UnwatchedTop& top) const {
    return top.parent > 0 ? tree_.path(top.parent) + top.name + '/'
                          : tree_.rootPath(tree_.rootOf(top.parent));
}

void FolderWatch::lookAtUnwatched() {
    for (const UnwatchedTop& top : std::exchange(unwatchedTops_, {})) {
        if (top.parent < 0) {
            watchRoot(tree_.rootOf(top.parent), false);
        } else if (tree_.contains(top.parent)) {
            found(top.parent, top.name, tree_.path(top.parent).append(top.name));
        }
        if (reports_.stopping()) return;
    }
    unwatchedTrees_.clear();  // looked at below
    listWaiting();
    std::vector<std::string> trees;
    trees.reserve(unwatchedTops_.size());
    for (const UnwatchedTop& top : unwatchedTops_) trees.push_back(topPath(top));
    unwatched_.look(std::move(trees),
                    [this](const std::string& folder) { reports_.changed(folder, 0); });
}

}  // namespace larkspan::platform
