#pragma once

#include "platform/linux/FolderListing.h"
#include "platform/linux/Inotify.h"
#include "platform/linux/TreeExclusion.h"
#include "platform/linux/UnwatchedFolders.h"
#include "platform/linux/WatchTree.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace larkspan::platform {

// What a watch tells while it works.
struct WatchReports {
    // A folder, its path ending in "/", with the flags of FileEventFlag.
    std::function<void(std::string folder, std::uint32_t flags)> changed;
    // A sentence for the log.
    std::function<void(const std::string& problem)> problem;
    // Asked between two folders: true ends a long work early.
    std::function<bool()> stopping;
};

// Watches folder trees: puts a watch on every folder below the roots and keeps up with folders that
// come, go and move. A folder is always watched first and then listed, so that whatever is put into
// it is either listed or reported by the system.
//
// Which folder a path leads to may have changed again by the time an event is read. So nothing is
// concluded from the names in events alone: the system gives the same watch for the same folder,
// and a watch that is asked for by path says which folder is there now. When a folder moves, all
// below it is listed again, since looks by its old path may have failed meanwhile.
//
// One thread at a time. Paths of folders end in "/".
class FolderWatch {
  public:
    // The exclusion must outlive this.
    FolderWatch(Inotify& inotify, std::vector<std::string> rootPaths,
                const TreeExclusion& exclusion, WatchReports reports);

    // Whether changes are reported, as they are at first; not while a root is watched for the first
    // time.
    void setReporting(bool reporting) { reporting_ = reporting; }

    // Watches the folder that the root's path leads to now, instead of the one before. With
    // `relist` everything below is listed again even when the folder is the same. Gives the folder,
    // or a negative errno value when it cannot be watched (see problem()).
    int watchRoot(size_t root, bool relist);
    // The root's path leads to no folder any more.
    void loseRoot(size_t root);
    // Something was mounted on a folder below the root: names separated by "/".
    void mounted(size_t root, std::string_view relativePath);

    void handle(const InotifyEvent& event);
    // Begins a new row of events: a folder reported before may be reported again.
    void beginEvents() { lastReported_ = 0; }

    bool contains(int folder) const { return tree_.contains(folder); }
    // The path of a watched folder in the root, by the name under which it is reported: names
    // separated by "/", "" for the root. "" when it is not watched.
    std::string knownPath(size_t root, std::string_view relativePath) const;
    const std::string& rootPath(size_t root) const { return tree_.rootPath(root); }
    // Whether the folder that the root's path leads to is known by that path, and not as a part of
    // another root.
    bool isKnownByRoot(size_t root) const;
    // Adds the root of that number, or gives one that is lost another path.
    void setRootPath(size_t root, std::string path);
    // The paths of links to folders that were found in watched folders since the last call, also of
    // such that lead to no folder as yet.
    std::vector<std::string> takeLinks() { return std::exchange(links_, {}); }
    // Why not all of the root is watched, in words; "" when it is.
    std::string problem(size_t root) const;

    // Whether some folders are not watched for want of resources.
    bool hasUnwatched() const { return !unwatchedTops_.empty(); }
    // Tries to watch them again and reports changes in those that still are not.
    void lookAtUnwatched();

  private:
    // A folder that is not watched, with all below it; a root has the parent of a root.
    struct UnwatchedTop {
        int parent = 0;
        std::string name;
        bool operator==(const UnwatchedTop&) const = default;
    };
    struct RootState {
        int folder = 0;
        std::string problem;
        std::string problemPath;
    };

    int folderAt(size_t root, std::string_view relativePath) const;
    void found(int parent, std::string_view name, const std::string& path);
    void foundAgain(int folder, int parent, std::string_view name);
    void notWatched(int parent, std::string_view name, const std::string& path, int error);
    void addUnwatched(int parent, std::string_view name, const std::string& path);
    void listWaiting();
    void list(int folder, FolderListing& listing);
    void noteLink(std::string_view name, const std::string& path);
    bool isInPlace(int folder);
    bool isLedTo(int folder);
    void moveHere(int folder, int parent, std::string_view name);
    void forget(int folder);
    void movedAway(int folder);
    void unmounted(int folder);
    void report(int folder);
    void noteProblem(size_t root, const std::string& path, const std::string& problem);
    void problemSolved(const std::string& path);
    std::string topPath(const UnwatchedTop& top) const;

    Inotify& inotify_;
    const TreeExclusion& exclusion_;
    const WatchReports reports_;
    WatchTree tree_;
    std::vector<RootState> roots_;
    bool hasProblems_ = false;
    std::vector<int> waiting_;  // watched, to be listed
    std::vector<std::string> links_;
    bool reporting_ = true;
    int lastReported_ = 0;
    std::vector<UnwatchedTop> unwatchedTops_;
    std::vector<std::string> unwatchedTrees_;  // found since the last look
    UnwatchedFolders unwatched_;
};

}  // namespace larkspan::platform
