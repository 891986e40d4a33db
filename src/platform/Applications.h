#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace larkspan::platform {

// A running application of this user.
struct RunningApplication {
    int processID = 0;
    std::string bundleIdentifier = {};
    Path executable = {};
    Date started = {};
};

// Running and installed applications.
class Applications {
  public:
    using TerminationObserver = std::function<void(const RunningApplication&)>;
    // Keeps an observer registered until destroyed, on the main thread.
    class Observation {
      public:
        virtual ~Observation() = default;
    };

    virtual ~Applications() = default;

    // The applications with that bundle identifier, this process included when it is one, oldest
    // first. Any thread.
    virtual std::vector<RunningApplication> runningApplications(
        const std::string& bundleIdentifier) = 0;

    virtual int currentProcessID() const = 0;

    // Kills the application without asking it. False when it is gone, when its process identifier
    // belongs to another one, or when it is not ours to kill. Any thread.
    virtual bool forceTerminate(const RunningApplication& application) = 0;

    // Path of an installed application's bundle; empty when none is known. Any thread.
    virtual std::optional<Path> bundlePathForIdentifier(const std::string& bundleIdentifier) = 0;

    // Starts the application of a bundle with a file for it to open, and does not wait for it.
    // False when it cannot be started. Any thread.
    [[nodiscard]] virtual bool openFile(const Path& file, const Path& application) = 0;

    // Calls the observer on the main thread when an application ends that was running at the last
    // look. Looks are taken when observing starts and at every lookForApplications(); between
    // looks nothing polls. Main thread only.
    virtual std::unique_ptr<Observation> observeTerminations(TerminationObserver observer) = 0;

    // Makes this process an application that the user sees in the Dock: 0, or the system's status
    // when it cannot. A system without a Dock has nothing to do. Main thread only.
    virtual int becomeForegroundApplication() { return 0; }

    // Takes notice of the applications that run now. Main thread only.
    virtual void lookForApplications() = 0;
};

}  // namespace larkspan::platform
