#pragma once

#include "foundation/Guarded.h"
#include "platform/Applications.h"
#include "platform/Bundles.h"
#include "platform/ObserverList.h"
#include "platform/Processes.h"
#include "platform/StandardPlaces.h"
#include "platform/linux/LinuxMainThread.h"
#include "platform/posix/FileDescriptor.h"

#include <map>
#include <utility>

namespace larkspan::platform {

// An executable that stands for an application although it lies in no bundle.
struct WellKnownExecutable {
    std::string executable;  // its path, or its name alone wherever it lies
    std::string bundleIdentifier;
};

// An application is a process of this user, with the same home folder (HOME) as this process, whose
// executable lies in a bundle folder; its identifier
// is that of the innermost bundle that has one. What is not in a bundle may be in the table.
class LinuxApplications final : public Applications {
  public:
    // The services must outlive this.
    LinuxApplications(LinuxMainThread& mainThread, Bundles& bundles, StandardPlaces& places,
                      Processes& processes, std::vector<WellKnownExecutable> table = {});

    std::vector<RunningApplication> runningApplications(
        const std::string& bundleIdentifier) override;
    int currentProcessID() const override;
    bool forceTerminate(const RunningApplication& application) override;
    std::optional<Path> bundlePathForIdentifier(const std::string& bundleIdentifier) override;
    bool openFile(const Path& file, const Path& application) override;
    std::unique_ptr<Observation> observeTerminations(TerminationObserver observer) override;
    void lookForApplications() override;

  private:
    // An application whose end the main loop waits for.
    struct Watched {
        RunningApplication application;
        FileDescriptor process;
        std::unique_ptr<MainThread::Timer> watch;
    };
    // The start tells apart processes that had the same number one after the other.
    using Key = std::pair<int, Date>;
    struct Identified {
        Date modified;
        std::string identifier;
    };

    std::vector<RunningApplication> allApplications();
    bool sharesOurHome(int processID);
    std::string identifierOfBundle(const Path& bundle);
    std::string identifierOfExecutable(const Path& executable);
    std::optional<Path> findBundle(const Path& folder, const std::string& bundleIdentifier,
                                   int levelsBelow);
    void watch(const RunningApplication& application);
    void ended(const Key& key);

    LinuxMainThread& mainThread_;
    Bundles& bundles_;
    StandardPlaces& places_;
    Processes& processes_;
    const std::vector<WellKnownExecutable> table_;
    Guarded<std::map<Path, Identified>> identifiers_;  // by Info.plist
    std::map<Key, Watched> watched_;                   // main thread only
    ObserverList<Observation, const RunningApplication&> observers_;
};

}  // namespace larkspan::platform
