#include "WatchScene.h"
#include "platform/linux/UnwatchedFolders.h"

#include <chrono>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace larkspan::platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::WatchScene;

constexpr auto mustScan = FileEventFlag::mustScanSubfolders;
const std::string noticeText =
    "This file system reports no changes of others; it is looked through every 30 seconds.";

// Folders with "/silent" in their path are watched, but the system reports no change in them.
FileEventsOptions silent(const std::function<Mount()>& mount) {
    FileEventsOptions options;
    options.unwatchedInterval = std::chrono::milliseconds(20);
    options.mounts = [mount] { return std::vector<Mount>{mount()}; };
    options.calls.addWatch = [](int descriptor, const char* path, std::uint32_t mask) {
        if (std::string_view(path).find("/silent") != std::string_view::npos) {
            mask = (mask & ~std::uint32_t{IN_ALL_EVENTS}) | IN_DELETE_SELF | IN_MOVE_SELF;
        }
        return inotify_add_watch(descriptor, path, mask);
    };
    return options;
}

void expectChangesSeen(WatchScene& scene, const std::string& tree) {
    EXPECT_TRUE(scene.sees(tree, mustScan)) << "it may have changed during the first look";
    ASSERT_TRUE(scene.forget());
    scene.write(tree + "/deep/file", "more");
    EXPECT_TRUE(scene.sees(tree + "/deep"));
    EXPECT_FALSE(scene.hasSeen(tree));
    scene.makeFolder(tree + "/new/below");
    EXPECT_TRUE(scene.sees(tree + "/new/below"));
    EXPECT_FALSE(scene.hasSeen(tree, mustScan));
}

TEST(LinuxFileEventsSilent, LooksThroughARootOnASilentFileSystem) {
    std::string device;
    WatchScene scene(silent([&] {
        return Mount{Path("/"), Path("/"), "nfs4", "server:/", device};
    }));
    struct stat facts {};
    ASSERT_EQ(stat(scene.path("").c_str(), &facts), 0);
    device = std::to_string(major(facts.st_dev)) + ':' + std::to_string(minor(facts.st_dev));
    scene.makeFolder("silent/deep");
    scene.write("silent/deep/file");
    scene.start({"silent"});
    EXPECT_TRUE(scene.root().watched);
    EXPECT_EQ(scene.root().problem, "");
    EXPECT_EQ(scene.root().notice, noticeText);
    expectChangesSeen(scene, "silent");
}

TEST(LinuxFileEventsSilent, LooksThroughASilentMountBelowARoot) {
    Path point;
    WatchScene scene(silent([&] { return Mount{point, Path("/"), "fuse.sshfs", "host:", "0:0"}; }));
    scene.makeFolder("root/a/silent/deep");
    scene.makeFolder("root/a/other");
    point = Path(std::filesystem::canonical(scene.path("root/a/silent").str()).string());
    scene.start();
    EXPECT_EQ(scene.root().notice, scene.path("root/a/silent").str() + "/: " + noticeText);
    expectChangesSeen(scene, "root/a/silent");
    EXPECT_FALSE(scene.hasSeen("root/a/other"));
    EXPECT_TRUE(scene.watches("root/a/other"));
}

TEST(LinuxFileEventsSilent, KnowsTheTypesOfSilentFileSystems) {
    for (const char* type : {"nfs", "nfs4", "cifs", "smb3", "fuse.sshfs", "fuse.mergerfs", "9p",
                             "afs", "ceph", "vboxsf", "prl_fs"}) {
        EXPECT_TRUE(isSilentType(type)) << type;
    }
    for (const char* type : {"ext4", "btrfs", "tmpfs", "fuseblk", "exfat", "overlay", ""}) {
        EXPECT_FALSE(isSilentType(type)) << type;
    }
}

TEST(UnwatchedFolders, WhatCannotBeReadForAMomentHasNotChanged) {
    testing::TemporaryFolder top;
    const std::string tree = top.path().str() + '/';
    std::filesystem::create_directories(tree + "a/deep");
    const TreeExclusion nothing{{}};
    UnwatchedFolders folders(nothing, [] { return false; });
    std::vector<std::string> changed;
    const auto look = [&] {
        changed.clear();
        folders.look({tree}, [&](const std::string& folder) { changed.push_back(folder); });
    };
    look();
    look();
    EXPECT_THAT(changed, IsEmpty());

    // No folder can be opened any more.
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit none{0, limit.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    look();
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_THAT(changed, IsEmpty());
    std::ofstream(tree + "a/deep/new") << "text";
    look();
    EXPECT_THAT(changed, ElementsAre(tree + "a/deep/"));
}

}  // namespace
}  // namespace larkspan::platform
