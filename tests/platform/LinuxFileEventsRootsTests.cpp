#include "WatchScene.h"
#include "platform/linux/MountWatch.h"

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

namespace larkspan::platform {
namespace {
namespace fs = std::filesystem;

using testing::WatchScene;
constexpr auto rootChanged = FileEventFlag::rootChanged;

void link(WatchScene& scene, const std::string& target, const std::string& name) {
    fs::create_symlink(scene.path(target).str(), scene.path(name).str());
}

TEST(LinuxFileEventsRoots, ReportsUnderThePathThatWasGiven) {
    WatchScene scene;
    scene.makeFolder("root/sub/deep");
    link(scene, "root/sub", "link");
    scene.start({"link", "root/sub", "root"});
    EXPECT_TRUE(scene.watches("link/deep"));
    EXPECT_FALSE(scene.hasSeen("root/sub/deep"));
    EXPECT_TRUE(scene.root(1).watched);

    // Without the link the later roots take over.
    scene.remove("link");
    EXPECT_TRUE(scene.sees("link", rootChanged));
    EXPECT_TRUE(scene.watches("root/sub/deep"));
    EXPECT_FALSE(scene.root(0).watched);

    scene.makeFolder("other/deep");
    link(scene, "other", "link");
    EXPECT_TRUE(scene.sees("link", rootChanged));
    EXPECT_TRUE(scene.watches("link/deep"));

    // Another link in the place of this one.
    link(scene, "root", "new link");
    ASSERT_TRUE(scene.forget());
    scene.rename("new link", "link");
    EXPECT_TRUE(scene.sees("link", rootChanged));
    scene.changeIn("root/sub/deep");
    EXPECT_TRUE(scene.sees("link/sub/deep"));
}

TEST(LinuxFileEventsRoots, ALaterRootKeepsWhatAnEarlierOneLeaves) {
    WatchScene scene;
    scene.makeFolder("root/sub/deep");
    link(scene, "root/sub", "link");
    scene.start({"link", "root"});
    EXPECT_TRUE(scene.watches("link/deep"));
    scene.remove("link");
    EXPECT_TRUE(scene.sees("link", rootChanged));
    EXPECT_TRUE(scene.watches("root/sub/deep"));
}

TEST(LinuxFileEventsRoots, PicksUpWhatAppears) {
    WatchScene scene;
    link(scene, "target/deep", "dangling");
    scene.write("file");
    scene.start({"a/b/c", "dangling", "file"});
    for (size_t root = 0; root < 3; ++root) {
        EXPECT_FALSE(scene.root(root).watched);
        EXPECT_NE(scene.root(root).problem, "");
    }
    scene.makeFolder("a/b/c/sub");
    scene.write("a/b/c/sub/early");
    EXPECT_TRUE(scene.sees("a/b/c", rootChanged));
    EXPECT_TRUE(scene.sees("a/b/c/sub"));
    scene.makeFolder("target/deep/sub");
    EXPECT_TRUE(scene.sees("dangling", rootChanged));
    scene.remove("file");
    scene.makeFolder("file/sub");
    EXPECT_TRUE(scene.sees("file", rootChanged));
    for (const char* folder : {"a/b/c/sub", "dangling/sub", "file/sub"}) {
        EXPECT_TRUE(scene.watches(folder)) << folder;
    }
    EXPECT_EQ(scene.root(0).problem, "");
}

TEST(LinuxFileEventsRoots, ComesBackAfterRemovalAndMoves) {
    WatchScene scene;
    scene.makeFolder("a/b/sub");
    scene.start({"a/b"});
    for (int loop = 0; loop < 5; ++loop) {
        scene.remove("a");
        scene.makeFolder("a/b/sub");
        EXPECT_TRUE(scene.sees("a/b", rootChanged));
        EXPECT_TRUE(scene.watches("a/b/sub"));
    }
    // A folder above it moves away, another comes in its place.
    scene.rename("a", "away");
    ASSERT_TRUE(scene.sees("a/b", rootChanged));
    EXPECT_FALSE(scene.watches("away/b/sub"));
    EXPECT_FALSE(scene.hasSeen("a/b/sub"));
    EXPECT_FALSE(scene.root().watched);
    scene.makeFolder("a/b/new");
    EXPECT_TRUE(scene.sees("a/b", rootChanged));
    EXPECT_TRUE(scene.watches("a/b/new"));
}

// A folder on the way goes just when it is looked at, and is back before the next look.
TEST(LinuxFileEventsRoots, LooksAgainWhenTheWayVanishesMeanwhile) {
    std::atomic<int> vanishes{2};
    FileEventsOptions options;
    options.calls.addWatch = [&](int descriptor, const char* path, std::uint32_t mask) {
        if (std::string_view(path).ends_with("/a") && vanishes-- > 0) {
            errno = ENOENT;
            return -1;
        }
        return inotify_add_watch(descriptor, path, mask);
    };
    WatchScene scene(options);
    scene.start({"a/b"});
    scene.makeFolder("a");
    ASSERT_TRUE(scene.waitUntil([&] { return vanishes < 0; }));
    scene.makeFolder("a/b");
    EXPECT_TRUE(scene.sees("a/b", rootChanged));
    EXPECT_TRUE(scene.watches("a/b"));
}

TEST(LinuxFileEventsRoots, AnEarlierRootTakesItsFoldersFromALaterOne) {
    WatchScene scene;
    scene.start({"root/a", "root"});
    scene.makeFolder("root/a/sub");
    EXPECT_TRUE(scene.sees("root/a", rootChanged));
    EXPECT_TRUE(scene.watches("root/a/sub"));
    scene.rename("root/a", "root/b");
    EXPECT_TRUE(scene.sees("root/b/sub"));
    EXPECT_TRUE(scene.watches("root/b/sub"));
    EXPECT_FALSE(scene.root(0).watched);
}

TEST(LinuxFileEventsRoots, RefusesWhatIsNoPath) {
    WatchScene scene;
    LinuxMainThread mainThread;
    LinuxFileEvents fileEvents(mainThread);
    const std::string zero = scene.path("root").str() + std::string(1, '\0') + "x";
    const auto stream =
        fileEvents.start({Path(""), Path(zero)}, Seconds(1), [](const auto&) {}, {});
    for (const WatchedRoot& root : stream->roots()) {
        EXPECT_FALSE(root.watched);
        EXPECT_NE(root.problem, "");
    }
}

TEST(LinuxFileEventsRoots, NoticesMounts) {
    // A mount table of our own keeps the mounts from the rest of the system.
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        GTEST_SKIP() << "only the administrator may mount";
    }
    WatchScene scene;
    scene.makeFolder("root/volume/covered");
    scene.makeFolder("media");
    scene.start({"root", "media/projects"});
    const std::string inside = scene.path("root/volume").str();
    const std::string media = scene.path("media").str();
    ASSERT_EQ(mount("none", inside.c_str(), "tmpfs", 0, nullptr), 0);
    EXPECT_TRUE(scene.sees("root/volume"));
    EXPECT_TRUE(scene.watches("root/volume"));
    ASSERT_EQ(mount("none", media.c_str(), "tmpfs", 0, nullptr), 0);
    scene.makeFolder("media/projects");
    EXPECT_TRUE(scene.sees("media/projects", rootChanged));
    EXPECT_TRUE(scene.watches("media/projects"));

    ASSERT_TRUE(scene.forget());
    EXPECT_EQ(umount2(inside.c_str(), MNT_DETACH), 0);
    EXPECT_EQ(umount2(media.c_str(), MNT_DETACH), 0);
    EXPECT_TRUE(scene.sees("media/projects", rootChanged));
    EXPECT_TRUE(scene.sees("root"));
    EXPECT_TRUE(scene.watches("root/volume/covered"));
}

}  // namespace
}  // namespace larkspan::platform
