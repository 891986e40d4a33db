#include "WatchScene.h"
#include "foundation/Guarded.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

namespace larkspan::platform {
namespace {

using testing::WatchScene;
constexpr std::uint32_t dropped = FileEventFlag::mustScanSubfolders | FileEventFlag::eventsDropped;

// Refuses to watch folders with "refused" in their path, until it is told otherwise.
struct Refusal {
    explicit Refusal(int refusedWith) : error(refusedWith) {}

    FileEventsOptions options() {
        FileEventsOptions options;
        options.unwatchedInterval = std::chrono::milliseconds(20);
        options.reportProblem = [this](const std::string& problem) {
            problems.with([&](auto& all) { all.push_back(problem); });
        };
        options.calls.addWatch = [this](int descriptor, const char* path, std::uint32_t mask) {
            if (error != 0 && std::string(path).find("refused") != std::string::npos) {
                errno = error;
                return -1;
            }
            return inotify_add_watch(descriptor, path, mask);
        };
        options.calls.open = [this] {
            if (noInstance) {
                errno = EMFILE;
                return -1;
            }
            return inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        };
        return options;
    }

    std::atomic<int> error;
    std::atomic<bool> noInstance{false};
    Guarded<std::vector<std::string>> problems;
};

TEST(LinuxFileEventsLimits, LooksAtAllRootsWhenTheSystemLostEvents) {
    long queue = 0;
    std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> queue;
    if (queue > 40'000) GTEST_SKIP() << "the queue of the system is too long";

    std::atomic<bool> blocked{false};
    FileEventsOptions options;
    options.beforeReading = [&] { blocked.wait(true); };
    WatchScene scene(options);
    scene.makeFolder("root/a");
    scene.makeFolder("root/vanishes");
    scene.start({"root", "missing"});
    blocked = true;
    // Writes of two files by turns, so that no event equals the one before and is joined with it.
    for (long count = 0; count <= queue; ++count) {
        scene.write(count % 2 == 0 ? "root/a/even" : "root/a/odd", "");
    }
    scene.remove("root/vanishes");
    scene.makeFolder("root/new/deep");
    blocked = false;
    blocked.notify_all();
    EXPECT_TRUE(scene.sees("root", dropped));
    EXPECT_TRUE(scene.sees("missing", dropped));
    EXPECT_TRUE(scene.watches("root/new/deep"));
    EXPECT_TRUE(scene.watches("root/a"));
}

TEST(LinuxFileEventsLimits, LooksByTimerAtFoldersThatTheSystemDoesNotWatch) {
    Refusal refusal(ENOSPC);
    WatchScene scene(refusal.options());
    scene.makeFolder("root/refused/deep");
    scene.write("root/refused/deep/file");
    scene.start();
    EXPECT_TRUE(scene.root().watched);
    EXPECT_NE(scene.root().problem, "");
    EXPECT_FALSE(scene.hasSeen("root/refused"));

    scene.write("root/refused/deep/file", "more");
    EXPECT_TRUE(scene.sees("root/refused/deep"));
    EXPECT_FALSE(scene.hasSeen("root/refused"));
    scene.makeFolder("root/refused too/deep");
    EXPECT_TRUE(scene.sees("root/refused too/deep"));
    EXPECT_EQ(refusal.problems.copy().size(), 1U);

    refusal.error = 0;
    EXPECT_TRUE(scene.waitUntil([&] { return scene.root().problem.empty(); }));
    EXPECT_TRUE(scene.watches("root/refused/deep"));
    EXPECT_TRUE(scene.watches("root/refused too/deep"));
}

TEST(LinuxFileEventsLimits, WorksWithoutAnyWatches) {
    Refusal refusal(0);
    refusal.noInstance = true;
    WatchScene scene(refusal.options());
    scene.makeFolder("root/a");
    scene.start();
    EXPECT_FALSE(scene.root().watched);
    EXPECT_NE(scene.root().problem, "");
    scene.changeIn("root/a");
    EXPECT_TRUE(scene.sees("root/a"));

    refusal.noInstance = false;
    EXPECT_TRUE(scene.sees("root", FileEventFlag::mustScanSubfolders));
    EXPECT_TRUE(scene.waitUntil([&] { return scene.root().watched; }));
    EXPECT_TRUE(scene.watches("root/a"));
}

TEST(LinuxFileEventsLimits, PassesOverFoldersWithoutRights) {
    Refusal refusal(EACCES);
    WatchScene scene(refusal.options());
    scene.makeFolder("root/refused/deep");
    scene.makeFolder("root/allowed");
    scene.start();
    EXPECT_TRUE(scene.root().watched);
    EXPECT_NE(scene.root().problem.find("root/refused"), std::string::npos);
    EXPECT_TRUE(scene.watches("root/allowed"));
    EXPECT_FALSE(scene.watches("root/refused/deep"));

    refusal.error = 0;
    std::filesystem::permissions(scene.path("root/refused").str(),
                                 std::filesystem::perms::owner_all);
    EXPECT_TRUE(scene.sees("root/refused/deep"));
    EXPECT_TRUE(scene.watches("root/refused/deep"));
    EXPECT_EQ(scene.root().problem, "");
}

TEST(LinuxFileEventsLimits, EndsAmidALookAtAHugeTree) {
    std::atomic<int> slowWatches{0};
    std::atomic<bool> slow{false};
    FileEventsOptions options;
    options.calls.addWatch = [&](int descriptor, const char* path, std::uint32_t mask) {
        if (slow) {
            ++slowWatches;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return inotify_add_watch(descriptor, path, mask);
    };
    WatchScene scene(options);
    constexpr int folders = 200;
    for (int folder = 0; folder < folders; ++folder) {
        scene.makeFolder("outside/" + std::to_string(folder));
    }
    scene.start();
    slow = true;
    scene.rename("outside", "root/inside");
    EXPECT_TRUE(scene.waitUntil([&] { return slowWatches > 3; }));
    scene.stop();
    EXPECT_LT(slowWatches, folders / 2);
    slow = false;
    scene.start();
    EXPECT_TRUE(scene.watches("root/inside/9"));
}

}  // namespace
}  // namespace larkspan::platform
