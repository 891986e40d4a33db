#pragma once

#include "platform/FileEvents.h"
#include "platform/linux/FolderWatch.h"
#include "platform/linux/Inotify.h"
#include "platform/linux/MountTable.h"
#include "platform/linux/RootTrail.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan::platform {

// Keeps the roots of a FolderWatch tied to the folders that their paths lead to. Every folder and
// link on the way to a root is watched for being moved or removed, and where the way ends too
// early, the last folder is watched for the name that is missing. Links to folders that are found
// in the roots become roots of their own. One thread at a time.
class RootWatch {
  public:
    // The exclusion must outlive this.
    RootWatch(Inotify& inotify, FolderWatch& folders, std::vector<Path> roots,
              const TreeExclusion& exclusion, WatchReports reports);

    // Takes notice of events on the way to a root; lookAtNext() acts on them.
    void handle(const InotifyEvent& event);
    // Takes notice that volumes were mounted or unmounted.
    void mountsChanged(const std::vector<Mount>& mounts);
    // Makes roots of the links to folders that were found in the roots. Given ones come first, so
    // that a folder is known by its path without links, and else by the first link.
    void addLinks();
    // Whether a root is still to be looked at. At first all are.
    bool needsLook() const;
    // Whether one is still to be looked at for the first time.
    bool needsFirstLook() const;
    // Looks where the first of the roots concerned is now, and reports it when it came, went or was
    // replaced. Gives the root when it was looked at for the first time: then nothing is reported.
    std::optional<size_t> lookAtNext();

    // The trees in the root, by the paths they are reported under and the root itself first, whose
    // file systems do not report what others change in them.
    std::vector<std::string> silentTrees(size_t root, const std::vector<Mount>& mounts) const;

    // Whether a root can be found again only by looking for it from time to time.
    bool hasUnwatchedWay() const;
    // Has lookAtNext() look for these.
    void lookForUnwatched();

    size_t count() const { return roots_.size(); }
    WatchedRoot state(size_t root) const;

  private:
    // In rising order: where its path leads; what is below it, too; that, and it counts as changed;
    // for the first time.
    enum class Look { none, whereItIs, wholeTree, moved, first };
    struct Root {
        Path given;
        std::string realPath;  // without links; "" while missing
        std::string device;    // of its file system, as in Mount; "" while missing
        int folder = 0;        // 0 while there is none that is watched
        bool wayIsWatched = true;
        std::string problem;  // why its path leads to no folder; "" when it does
        Look look = Look::first;
        bool isLink = false;  // a link that was found in another root
        bool isOver = false;  // a link that is gone: its place is free
    };
    // One folder or link on the way to a root.
    struct Step {
        int watch = 0;
        size_t root = 0;
        std::string awaited;  // the name that is missing in it; "" when none is
    };

    void look(size_t root);
    void addLink(const std::string& path);
    bool mayWatch(const Root& root) const;
    void giveUp(size_t root);
    std::string_view pathBelow(size_t root, const Mount& mount) const;
    void leaveWay(size_t root);
    TrailEnd follow(size_t root);
    int step(size_t root, const std::string& place, std::uint32_t mask, std::string awaited);
    void mark(size_t root, Look look);
    void markLater(size_t root);

    Inotify& inotify_;
    FolderWatch& folders_;
    const TreeExclusion& exclusion_;
    const WatchReports reports_;
    std::vector<Root> roots_;
    std::vector<Step> steps_;
    size_t nextLook_ = 0;  // no root that changes all the time keeps the others waiting
};

}  // namespace larkspan::platform
