#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"
#include "foundation/Value.h"
#include "platform/FileEvents.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace larkspan {

// Receives the changes. An event is a dictionary: "id" (integer), "path" (the changed folder,
// ending in "/"), "flag" (four or more hexadecimal digits), "date" (when the batch arrived).
class FileSystemEventsDelegate {
  public:
    virtual ~FileSystemEventsDelegate() = default;
    // Must return quickly.
    virtual void fileSystemEventsReceived(const Value::Array& events) = 0;
};

// Watches folder trees and hands each batch of changes to its delegate. Main thread only.
class ZBFSEvents {
  public:
    static ZBFSEvents& sharedController();
    ZBFSEvents(const ZBFSEvents&) = delete;
    ZBFSEvents& operator=(const ZBFSEvents&) = delete;

    // Replaces the watch that runs. `interval` is the latency.
    void startWatchingPaths(const std::vector<Path>& paths, Seconds interval = Seconds(1.0));
    // Restarts with the paths added that are not yet watched, or without the given ones.
    void addWatchPaths(const std::vector<Path>& paths, Seconds interval);
    void removeWatchPaths(const std::vector<Path>& paths, Seconds interval);
    // Ends the watch. `running` stays set, on purpose: it says that a watch was ever started.
    void stopWatching();

    // Trees that the next watch leaves out.
    void setExcludedTrees(platform::ExcludedTrees excluded) { excluded_ = std::move(excluded); }

    // Events without a delegate are dropped. Not owned.
    void setDelegate(FileSystemEventsDelegate* delegate) { delegate_ = delegate; }
    FileSystemEventsDelegate* delegate() const { return delegate_; }

    bool running() const { return running_; }
    void setRunning(bool running) { running_ = running; }

    // The paths of the current watch; empty when stopped.
    const std::optional<std::vector<Path>>& watchPaths() const { return watchPaths_; }
    void setWatchPaths(std::optional<std::vector<Path>> paths) { watchPaths_ = std::move(paths); }

    // Which of the paths are really watched.
    std::vector<platform::WatchedRoot> watchedRoots() const;

  private:
    ZBFSEvents() = default;
    void deliver(const std::vector<platform::FileEvent>& events) const;

    std::unique_ptr<platform::FileEvents::Stream> stream_;
    std::optional<std::vector<Path>> watchPaths_;
    platform::ExcludedTrees excluded_;
    FileSystemEventsDelegate* delegate_ = nullptr;
    bool running_ = false;
};

}  // namespace larkspan
