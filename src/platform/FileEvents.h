#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan::platform {

// One changed folder.
struct FileEvent {
    std::uint64_t id = 0;  // grows by at least one from event to event within a process
    Path path;             // the folder, under the path its root was given by, ending in "/"
    std::uint32_t flags = 0;
};

// Flags of an event; 0 for an ordinary change.
namespace FileEventFlag {
inline constexpr std::uint32_t mustScanSubfolders = 0x01;  // something below may have changed too
inline constexpr std::uint32_t eventsDropped = 0x04;       // the system lost events
inline constexpr std::uint32_t rootChanged = 0x20;         // the root came, went or was replaced
}  // namespace FileEventFlag

// What a stream makes of one of its roots.
struct WatchedRoot {
    Path path;
    bool watched = false;
    std::string problem;  // when not (or not wholly) watched: why, in words; else empty
    std::string notice;   // what else a person may want to know of it, a sentence; else empty
};

// Trees below the roots that are not watched and of which nothing is reported. A root itself is
// watched, whatever it is called.
struct ExcludedTrees {
    // By whatever name they are reached.
    std::vector<Path> paths;
    // Whether folders of that name are left out, wherever they lie; none without it. Any thread.
    std::function<bool(std::string_view name)> isExcludedName;
};

// Watches folder trees. A change of a folder's entries, or of the contents, dates or attributes of
// a file in it, is reported as an event for that folder.
//
// Links to folders in the trees are followed: what they lead to is watched too, and reported under
// the path of the link. A folder is known by one path, the one without a link, else that by the
// first link. Links that lead up, or into excluded trees or the system's own, are not followed.
//
// Nothing is lost: a folder that appears below a root is watched, and counts as changed, with
// everything that was already in it; after the system dropped events every root is looked through
// again and reported with mustScanSubfolders | eventsDropped; folders that cannot be watched for
// want of system resources are looked through by a timer; a root that does not exist is picked up
// when it appears, also after it has been removed.
class FileEvents {
  public:
    // The changed folders of one batch, each at most once, in the order of their first change.
    using Callback = std::function<void(const std::vector<FileEvent>&)>;

    // A running watch. Destroying it on the main thread ends it, also amid a look at a huge tree:
    // no callback begins afterwards.
    class Stream {
      public:
        virtual ~Stream() = default;

        // The roots in the order given. Any thread.
        virtual std::vector<WatchedRoot> roots() const = 0;
    };

    virtual ~FileEvents() = default;

    // Starts watching; main thread only. Returns when all folders that exist are watched, or after
    // a tenth of a second: the rest of the first look goes on without the caller. No later change
    // is missed: each root whose first look ends after the return is reported with
    // mustScanSubfolders then, and has a notice until then. An empty list gives a stream that
    // reports nothing.
    //
    // Callbacks come on the main thread. The first change after a quiet period of `latency` is
    // handed on at once; later ones are gathered and handed on together when `latency` has passed
    // since the last batch.
    virtual std::unique_ptr<Stream> start(std::vector<Path> paths, Seconds latency,
                                          Callback callback, ExcludedTrees excluded = {}) = 0;
};

}  // namespace larkspan::platform
