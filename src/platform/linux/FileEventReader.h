#pragma once

#include "foundation/Guarded.h"
#include "platform/FileEvents.h"
#include "platform/linux/EventGathering.h"
#include "platform/linux/FolderWatch.h"
#include "platform/linux/Inotify.h"
#include "platform/linux/MountWatch.h"
#include "platform/linux/RootWatch.h"
#include "platform/linux/SilentTrees.h"
#include "platform/posix/FileDescriptor.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace larkspan::platform {

struct FileEventsOptions {
    // Told, on any thread, what cannot be watched as it should be; each thing once in a row.
    std::function<void(const std::string& problem)> reportProblem = [](const std::string&) {};
    // How often folders are looked at that the system does not watch, or not wholly, at most.
    Seconds unwatchedInterval = std::chrono::seconds(30);
    // How long start() waits for the first look at all roots.
    Seconds startWait = std::chrono::milliseconds(100);
    // How long the end of a watch waits for its thread, which a server that does not answer holds.
    Seconds endWait = std::chrono::seconds(2);
    InotifyCalls calls;
    // What is mounted where, for tests; without it what the system says.
    std::function<std::vector<Mount>()> mounts;
    // Called before events are read, for tests that need a slow reader.
    std::function<void()> beforeReading = [] {};
};

// One watch with the thread that looks through its roots and reads its events. Both own it: a
// thread that a server holds when the watch ends is left to end by itself, and calls nobody then.
// Started and stopped on one thread.
class FileEventReader {
  public:
    // Called on the reader's thread with one batch, never empty.
    using Deliver = std::function<void(std::vector<FileEvent>)>;

    // Returns when all folders are watched, or when `startWait` is over.
    static std::shared_ptr<FileEventReader> start(std::vector<Path> roots, ExcludedTrees excluded,
                                                  Seconds latency, FileEventsOptions options,
                                                  Deliver deliver);
    // Ends the thread at once, also amid a look at a huge tree. To be called once.
    void stop();

    // For start().
    FileEventReader(std::vector<Path> roots, ExcludedTrees excluded, Seconds latency,
                    FileEventsOptions options, Deliver deliver);
    FileEventReader(const FileEventReader&) = delete;
    FileEventReader& operator=(const FileEventReader&) = delete;
    ~FileEventReader() = default;

    // Any thread.
    std::vector<WatchedRoot> roots() const { return states_.copy(); }

  private:
    // One inotify instance and what is watched with it.
    struct Watch {
        Watch(const InotifyCalls& calls, const std::vector<Path>& roots,
              const TreeExclusion& exclusion, const WatchReports& reports);
        Inotify inotify;
        FolderWatch folders;
        RootWatch roots;
    };
    struct Ready {
        bool events = false;
        bool mounts = false;
    };

    void run();
    Ready wait(std::optional<Seconds> timeout) const;
    void nap() const;
    std::optional<Seconds> nextDue() const;
    bool readEvents();
    void lookWhereDue();
    void lookAtUnwatched();
    void lookAtRoots();
    void firstLookDone(size_t root);
    void findSilentTrees();
    void lookAtSilentTrees();
    bool needsTimer() const;
    void restUntilNextLook(Seconds begun);
    void beginSilentLook();
    void startAnew(std::uint32_t flags);
    void started();
    void publishStates();
    WatchedRoot state(size_t root) const;
    void deliverWhenDue();
    WatchReports reports();

    const std::vector<Path> given_;
    const TreeExclusion exclusion_;
    const FileEventsOptions options_;
    const Deliver deliver_;
    const FileDescriptor stop_;
    const MountWatch mounts_;
    const int napMilliseconds_;
    EventGathering gathering_;
    std::string lastProblem_;
    std::unique_ptr<Watch> watch_;
    SilentTrees silentTrees_;
    bool eventsDropped_ = false;
    bool starting_ = false;         // some roots are still to be looked at for the first time
    std::uint32_t startFlags_ = 0;  // with which roots are reported after that look; 0 at first
    Seconds startBegun_{0};         // moments are the uptime
    Seconds startAnewNotBefore_{0};
    Seconds lookAtUnwatchedAt_{0};
    Seconds lookBegun_{0};  // at the silent trees
    Guarded<std::vector<WatchedRoot>> states_;
    std::promise<void> firstLook_;
    std::atomic<bool> returned_{false};  // the constructor, or is about to
    Guarded<bool> isQuiet_{false};       // when set, nobody is called
    std::atomic<bool> stopping_{false};
    std::promise<void> ended_;
    std::thread thread_;
};

}  // namespace larkspan::platform
