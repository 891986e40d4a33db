#pragma once

#include "foundation/Path.h"

#include <functional>
#include <memory>
#include <vector>

namespace larkspan::platform {

// Mounted volumes.
class Volumes {
  public:
    using MountObserver = std::function<void(const Path& mountPoint)>;
    // Keeps an observer registered until destroyed, on the main thread.
    class Observation {
      public:
        virtual ~Observation() = default;
    };

    virtual ~Volumes() = default;

    // The folders under which the system mounts volumes: "/Volumes" first, then this system's own.
    // Any thread.
    virtual std::vector<Path> volumesFolders() = 0;

    // Mount points of local volumes, sorted; network and system file systems are left out.
    // Any thread.
    virtual std::vector<Path> mountedLocalVolumes() = 0;

    // Whether the path lies below a mount point that the system's configuration names and that is
    // not mounted now: whatever is found or written there is not on the volume. Any thread.
    virtual bool isOnUnmountedVolume(const Path& path) = 0;

    // Calls the observer on the main thread for every volume mounted from now on. Main thread only.
    virtual std::unique_ptr<Observation> observeMounts(MountObserver observer) = 0;
};

}  // namespace larkspan::platform
