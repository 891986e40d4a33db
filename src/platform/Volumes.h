#pragma once

#include "foundation/Path.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace larkspan::platform {

// What is known of a mounted volume.
struct VolumeFacts {
    Path mountPoint;
    std::string device;           // "/dev/sda1", or what the file system calls its origin
    std::string name;             // the label, else the last part of the mount point
    std::string fileSystemType;   // "ext4"
    std::uint64_t totalSize = 0;  // bytes
    std::uint64_t freeSpace = 0;  // bytes that this user may still write
    bool isWritable = false;
    bool isRemovable = false;
};

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

    // Empty for what is no mount point. Asks the file system, which may take a while on a sleeping
    // disk or a network. Any thread.
    virtual std::optional<VolumeFacts> factsOfVolume(const Path& mountPoint) = 0;

    // Whether the path lies below a mount point that the system's configuration names and that is
    // not mounted now: whatever is found or written there is not on the volume. Any thread.
    virtual bool isOnUnmountedVolume(const Path& path) = 0;

    // Calls the observer on the main thread for every volume mounted from now on. Main thread only.
    virtual std::unique_ptr<Observation> observeMounts(MountObserver observer) = 0;
};

}  // namespace larkspan::platform
