#include "WatchScene.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include <gtest/gtest.h>

namespace larkspan::platform {
namespace {

using testing::WatchScene;
constexpr auto mustScan = FileEventFlag::mustScanSubfolders;

// A disk that takes its time for folders with "slow" in their path. The calling thread waits for it
// only a moment.
struct SlowDisk {
    FileEventsOptions options() {
        FileEventsOptions options;
        options.startWait = std::chrono::milliseconds(50);
        options.calls.addWatch = [this](int descriptor, const char* path, std::uint32_t mask) {
            if (std::string_view(path).find("/slow") != std::string_view::npos) answer();
            return inotify_add_watch(descriptor, path, mask);
        };
        return options;
    }
    void answer() {
        ++asked;
        std::this_thread::sleep_for(eachTakes.load());
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (stuck && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    std::atomic<std::chrono::milliseconds> eachTakes{std::chrono::milliseconds(0)};
    std::atomic<bool> stuck{false};
    std::atomic<int> asked{0};
};

TEST(LinuxFileEventsStart, ReturnsAmidALongWalkAndMissesNothing) {
    SlowDisk disk;
    disk.stuck = true;
    FileEventsOptions options = disk.options();
    options.startWait = std::chrono::milliseconds(500);  // enough for a root that answers
    WatchScene scene(options);
    scene.makeFolder("root/a");
    scene.makeFolder("slow/deep");
    scene.start({"root", "slow"});
    EXPECT_TRUE(disk.stuck);
    EXPECT_EQ(scene.root(0).notice, "");
    EXPECT_TRUE(scene.root(1).watched);
    EXPECT_EQ(scene.root(1).notice, "Being looked through for the first time.");
    scene.write("root/a/file");
    scene.write("slow/deep/file");
    disk.stuck = false;
    EXPECT_TRUE(scene.sees("slow", mustScan));
    EXPECT_TRUE(scene.sees("root/a"));
    EXPECT_FALSE(scene.hasSeen("root", mustScan)) << "it was watched before";
    EXPECT_TRUE(scene.waitUntil([&] { return scene.root(1).notice.empty(); }));
    EXPECT_TRUE(scene.watches("slow/deep"));
    EXPECT_TRUE(scene.watches("root/a"));
}

TEST(LinuxFileEventsStart, LeavesAThreadAloneThatADiskHolds) {
    // Outlives the scene with the thread that uses it.
    const auto disk = std::make_shared<SlowDisk>();
    disk->stuck = true;
    FileEventsOptions options = disk->options();
    options.endWait = std::chrono::milliseconds(50);
    options.calls.addWatch = [disk, slow = options.calls.addWatch](auto... arguments) {
        return slow(arguments...);
    };
    WatchScene scene(options);
    scene.makeFolder("slow/deep");
    scene.start({"slow"});
    const auto begun = std::chrono::steady_clock::now();
    scene.stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(5));
    disk->stuck = false;
    EXPECT_TRUE(scene.waitUntil([&] { return disk.use_count() == 3; })) << "the thread has ended";
}

TEST(LinuxFileEventsStart, EndsAmidTheFirstWalk) {
    SlowDisk disk;
    disk.eachTakes = std::chrono::milliseconds(5);
    WatchScene scene(disk.options());
    constexpr int folders = 200;
    for (int folder = 0; folder < folders; ++folder) {
        scene.makeFolder("slow/" + std::to_string(folder));
    }
    scene.start({"slow"});
    scene.stop();
    EXPECT_LT(disk.asked, folders / 2);
}

}  // namespace
}  // namespace larkspan::platform
