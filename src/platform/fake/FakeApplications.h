#pragma once

#include "foundation/Guarded.h"
#include "platform/Applications.h"
#include "platform/ObserverList.h"

#include <map>
#include <utility>

namespace larkspan::platform {

// Applications that tests start and end. Observers are told on the main thread, before the call
// that ended the application returns.
class FakeApplications final : public Applications {
  public:
    static constexpr int ownProcessID = 100;

    std::vector<RunningApplication> runningApplications(
        const std::string& bundleIdentifier) override;
    int currentProcessID() const override { return ownProcessID; }
    bool forceTerminate(const RunningApplication& application) override;
    std::optional<Path> bundlePathForIdentifier(const std::string& bundleIdentifier) override;
    bool openFile(const Path& file, const Path& application) override;
    std::unique_ptr<Observation> observeTerminations(TerminationObserver observer) override;
    void lookForApplications() override;

    // Starts an application, later than those before; process ids are given out from 101 on.
    RunningApplication start(const std::string& bundleIdentifier);
    // Makes this process an application.
    void startSelf(const std::string& bundleIdentifier);
    // It ends by itself. Observers are told of it when it was running at the last look.
    void end(const RunningApplication& application);
    void install(const std::string& bundleIdentifier, const Path& bundle);
    // What an installed application does with the files that it is to open, on the caller's thread.
    using FileOpener = std::function<void(const Path& file)>;
    void setFileOpener(const std::string& bundleIdentifier, FileOpener opener);
    // What was opened, as file and application, in order.
    std::vector<std::pair<Path, Path>> opened() const { return opened_.copy(); }
    // From now on, forceTerminate() is refused.
    void protectFromTermination() { isProtected_ = true; }
    std::vector<RunningApplication> forceTerminated() const { return forced_.copy(); }

  private:
    struct Entry {
        RunningApplication application;
        bool seen = false;
    };
    RunningApplication add(const std::string& bundleIdentifier, int processID);
    // Whether it was running.
    bool remove(const RunningApplication& application);

    Guarded<std::vector<Entry>> running_;
    Guarded<std::vector<RunningApplication>> forced_;
    Guarded<std::map<std::string, Path>> installed_;
    Guarded<std::map<std::string, FileOpener>> openers_;
    Guarded<std::vector<std::pair<Path, Path>>> opened_;
    ObserverList<Observation, const RunningApplication&> observers_;
    int lastProcessID_ = ownProcessID;
    int started_ = 0;
    bool isProtected_ = false;
};

}  // namespace larkspan::platform
