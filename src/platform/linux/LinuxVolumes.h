#pragma once

#include "platform/ObserverList.h"
#include "platform/StandardPlaces.h"
#include "platform/Volumes.h"
#include "platform/linux/LinuxMainThread.h"
#include "platform/linux/MountTable.h"
#include "platform/posix/FileDescriptor.h"

#include <set>

namespace larkspan::platform {

struct VolumesTables {
    Path mounts{"/proc/self/mountinfo"};
    Path configuration{"/etc/fstab"};
};

// Volumes as the kernel's table of mounts has them, which also tells when it changes. Where a root
// process acts for the user at the console, the volumes folders are that user's.
class LinuxVolumes final : public Volumes {
  public:
    // The services must outlive this.
    LinuxVolumes(LinuxMainThread& mainThread, StandardPlaces& places, VolumesTables tables = {});

    std::vector<Path> volumesFolders() override;
    std::vector<Path> mountedLocalVolumes() override;
    std::optional<VolumeFacts> factsOfVolume(const Path& mountPoint) override;
    // Compares where the path and the configured mount points lead when links are followed.
    bool isOnUnmountedVolume(const Path& path) override;
    // Network volumes count.
    std::unique_ptr<Observation> observeMounts(MountObserver observer) override;

  private:
    std::vector<Mount> mounts() const;
    std::set<Path> volumes();
    void mountsChanged();

    LinuxMainThread& mainThread_;
    StandardPlaces& places_;
    const VolumesTables tables_;
    // For the observers, from the first of them on; main thread only.
    FileDescriptor table_;
    std::unique_ptr<MainThread::Timer> watch_;
    std::set<Path> known_;
    ObserverList<Observation, const Path&> observers_;
};

}  // namespace larkspan::platform
