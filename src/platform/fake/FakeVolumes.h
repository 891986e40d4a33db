#pragma once

#include "foundation/Guarded.h"
#include "platform/ObserverList.h"
#include "platform/Volumes.h"

#include <algorithm>
#include <utility>

namespace larkspan::platform {

// Volumes that tests mount and unmount.
class FakeVolumes final : public Volumes {
  public:
    std::vector<Path> volumesFolders() override {
        return {Path("/Volumes"), Path("/media/editor")};
    }
    std::vector<Path> mountedLocalVolumes() override {
        return state_.with([](const State& state) { return state.mounted; });
    }
    std::optional<VolumeFacts> factsOfVolume(const Path& mountPoint) override {
        return state_.with([&](const State& state) -> std::optional<VolumeFacts> {
            if (std::ranges::find(state.mounted, mountPoint) == state.mounted.end()) return {};
            return VolumeFacts{.mountPoint = mountPoint,
                               .device = "/dev/fake",
                               .name = mountPoint.lastPathComponent(),
                               .fileSystemType = "fakefs",
                               .totalSize = 2000,
                               .freeSpace = 1000,
                               .isWritable = true,
                               .isRemovable = true};
        });
    }
    bool isOnUnmountedVolume(const Path& path) override {
        return state_.with([&](const State& state) {
            return std::ranges::any_of(state.unmounted,
                                       [&](const Path& point) { return path.isWithin(point); });
        });
    }
    std::unique_ptr<Observation> observeMounts(MountObserver observer) override {
        return observers_.add(std::move(observer));
    }

    // Tells every observer, before it returns. Main thread only.
    void mount(const Path& point) {
        state_.with([&](State& state) {
            std::erase(state.unmounted, point);
            state.mounted.push_back(point);
            std::ranges::sort(state.mounted);
        });
        observers_.notify(point);
    }
    // The configuration goes on naming it.
    void unmount(const Path& point) {
        state_.with([&](State& state) {
            std::erase(state.mounted, point);
            state.unmounted.push_back(point);
        });
    }

  private:
    struct State {
        std::vector<Path> mounted;
        std::vector<Path> unmounted;
    };
    Guarded<State> state_;
    ObserverList<Observation, const Path&> observers_;
};

}  // namespace larkspan::platform
