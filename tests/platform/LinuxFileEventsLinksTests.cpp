#include "WatchScene.h"
#include "foundation/Guarded.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <sys/fsuid.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {
namespace fs = std::filesystem;

using ::testing::HasSubstr;
using ::testing::Not;
using testing::WatchScene;
constexpr auto mustScan = FileEventFlag::mustScanSubfolders;
constexpr auto rootChanged = FileEventFlag::rootChanged;

void link(WatchScene& scene, const std::string& target, const std::string& name) {
    fs::create_symlink(target.starts_with("/") ? target : scene.path(target).str(),
                       scene.path(name).str());
}

// Whether a change in a folder is reported, and of which of its two names.
enum class By { itsPath, theLink, neither };
By reportedBy(WatchScene& scene, const std::string& folder, const std::string& throughLink) {
    EXPECT_TRUE(scene.forget());
    scene.changeIn(folder);
    EXPECT_TRUE(scene.settle());
    EXPECT_FALSE(scene.hasSeen(folder) && scene.hasSeen(throughLink)) << folder << " twice";
    if (scene.hasSeen(folder)) return By::itsPath;
    return scene.hasSeen(throughLink) ? By::theLink : By::neither;
}

TEST(LinuxFileEventsLinks, WatchesWhatLinksLeadTo) {
    WatchScene scene;
    scene.makeFolder("outside/deep");
    scene.makeFolder("further");
    scene.makeFolder("root/a");
    link(scene, "outside", "root/a/link");
    link(scene, "further", "outside/deep/link");
    scene.start();
    EXPECT_EQ(reportedBy(scene, "outside/deep", "root/a/link/deep"), By::theLink);
    EXPECT_EQ(reportedBy(scene, "further", "root/a/link/deep/link"), By::theLink);
    scene.makeFolder("outside/new/below");
    EXPECT_TRUE(scene.sees("root/a/link/new/below"));
}

TEST(LinuxFileEventsLinks, NoticesLinksThatComeAndGo) {
    WatchScene scene;
    scene.makeFolder("one/deep");
    scene.makeFolder("two/deep");
    scene.makeFolder("root/a");
    link(scene, "absent", "root/early");
    scene.start();
    EXPECT_FALSE(scene.hasSeen("root/early"));
    scene.makeFolder("absent/deep");
    EXPECT_TRUE(scene.sees("root/early", rootChanged));
    EXPECT_EQ(reportedBy(scene, "absent/deep", "root/early/deep"), By::theLink);

    link(scene, "one", "root/a/link");
    EXPECT_TRUE(scene.sees("root/a/link", mustScan));
    EXPECT_EQ(reportedBy(scene, "one/deep", "root/a/link/deep"), By::theLink);

    link(scene, "two", "root/other");
    EXPECT_TRUE(scene.sees("root/other", mustScan));
    scene.rename("root/other", "root/a/link");
    EXPECT_TRUE(scene.sees("root/a/link", rootChanged));
    EXPECT_EQ(reportedBy(scene, "two/deep", "root/a/link/deep"), By::theLink);
    EXPECT_EQ(reportedBy(scene, "one/deep", "root/a/link/deep"), By::neither);

    scene.rename("root/a", "root/b");
    EXPECT_TRUE(scene.sees("root/b/link", mustScan));
    EXPECT_EQ(reportedBy(scene, "two/deep", "root/b/link/deep"), By::theLink);

    scene.remove("root/b/link");
    ASSERT_TRUE(scene.waitUntil(
        [&] { return reportedBy(scene, "two/deep", "root/b/link/deep") == By::neither; }));
    link(scene, "one", "root/again");
    EXPECT_TRUE(scene.sees("root/again", mustScan)) << "in the place of the one that went";
    EXPECT_EQ(reportedBy(scene, "one/deep", "root/again/deep"), By::theLink);
}

TEST(LinuxFileEventsLinks, WatchesEveryFolderOnce) {
    WatchScene scene;
    for (const char* folder : {"root/sub", "outside/deep", "sibling"}) scene.makeFolder(folder);
    link(scene, "outside", "root/z");
    link(scene, "outside", "root/B");
    link(scene, "root/sub", "root/also sub");
    link(scene, "root", "root/loop");
    link(scene, "", "root/up");
    link(scene, "outside", "outside/loop");
    link(scene, "root", "outside/back");
    scene.start();
    EXPECT_EQ(reportedBy(scene, "root/sub", "root/also sub"), By::itsPath);
    EXPECT_EQ(reportedBy(scene, "outside/deep", "root/B/deep"), By::theLink) << "the first one";
    EXPECT_FALSE(scene.hasSeen("root/z/deep"));
    EXPECT_EQ(reportedBy(scene, "sibling", "root/up/sibling"), By::neither);
    scene.remove("root/B");
    EXPECT_TRUE(scene.waitUntil(
        [&] { return reportedBy(scene, "outside/deep", "root/z/deep") == By::theLink; }));
    // A link to what is watched already is nothing to look through.
    ASSERT_TRUE(scene.forget());
    link(scene, "outside/deep", "root/new");
    ASSERT_TRUE(scene.settle());
    EXPECT_FALSE(scene.hasSeen("root/new"));
    // With the folder in a root its real path counts.
    scene.rename("outside", "root/inside");
    EXPECT_TRUE(scene.waitUntil(
        [&] { return reportedBy(scene, "root/inside/deep", "root/z/deep") == By::itsPath; }));
}

TEST(LinuxFileEventsLinks, LeavesOutWhatIsNotToBeWatched) {
    Guarded<std::string> watched;
    FileEventsOptions options;
    options.calls.addWatch = [&](int descriptor, const char* path, std::uint32_t mask) {
        watched.with([&](std::string& all) { all.append(path).append("\n"); });
        return inotify_add_watch(descriptor, path, mask);
    };
    WatchScene scene(options);
    for (const char* folder : {"store/versions", "hidden target"}) scene.makeFolder(folder);
    link(scene, "store/versions", "root/versions");
    link(scene, "hidden target", "root/.hidden");
    for (const char* system : {"proc", "sys", "dev"}) {
        link(scene, std::string("/") + system, std::string("root/") + system);
    }
    scene.start({"root"}, {.paths = {scene.path("store")},
                           .isExcludedName = [](auto name) { return name.starts_with('.'); }});
    EXPECT_EQ(reportedBy(scene, "store/versions", "root/versions"), By::neither);
    EXPECT_EQ(reportedBy(scene, "hidden target", "root/.hidden"), By::neither);
    for (const char* system : {"proc", "sys", "dev"}) {
        EXPECT_THAT(watched.copy(), Not(HasSubstr(std::string("root/") + system + "/\n")));
    }
}

TEST(LinuxFileEventsLinks, SaysThatThereAreTooMany) {
    Guarded<std::vector<std::string>> problems;
    FileEventsOptions options;
    options.reportProblem = [&](const std::string& problem) {
        problems.with([&](auto& all) { all.push_back(problem); });
    };
    WatchScene scene(options);
    scene.makeFolder("outside");
    for (int number = 0; number <= 1003; ++number) {
        link(scene, "outside", "root/" + std::to_string(number));
    }
    scene.start();
    EXPECT_THAT(problems.copy(), ::testing::ElementsAre(HasSubstr("1000 links")));
    EXPECT_EQ(reportedBy(scene, "outside", "root/0"), By::theLink);
}

// The administrator's threads that begin meanwhile have an ordinary user's rights to files.
class OrdinaryRights {
  public:
    OrdinaryRights() { ::setfsuid(::geteuid() == 0 ? ordinaryUser : ::geteuid()); }
    OrdinaryRights(const OrdinaryRights&) = delete;
    OrdinaryRights& operator=(const OrdinaryRights&) = delete;
    ~OrdinaryRights() { ::setfsuid(::geteuid()); }
    static void give(const Path& item) {
        if (::geteuid() != 0) return;
        EXPECT_EQ(::lchown(item.str().c_str(), ordinaryUser, 0), 0);
    }

  private:
    static constexpr uid_t ordinaryUser = 65534;
};

TEST(LinuxFileEventsLinks, WhatCannotBeToldForAMomentIsLookedAtAgain) {
    constexpr auto listOnly = fs::perms::owner_read;
    WatchScene scene;
    for (const char* folder : {"outside/deep", "root/a"}) scene.makeFolder(folder);
    scene.write("file");
    link(scene, "outside", "root/a/link");
    link(scene, "file", "root/a/other");
    for (const char* item : {"", "outside", "outside/deep", "root", "root/a", "marker"}) {
        OrdinaryRights::give(scene.path(item));
    }
    fs::permissions(scene.path("root/a").str(), listOnly);
    {
        const OrdinaryRights rights;
        scene.start();
    }
    EXPECT_EQ(reportedBy(scene, "outside/deep", "root/a/link/deep"), By::neither);
    fs::permissions(scene.path("root/a").str(), fs::perms::owner_all);
    EXPECT_TRUE(scene.waitUntil(
        [&] { return reportedBy(scene, "outside/deep", "root/a/link/deep") == By::theLink; }));

    fs::permissions(scene.path("root/a").str(), listOnly);
    scene.rename("root/a", "root/b");
    EXPECT_TRUE(scene.waitUntil(
        [&] { return reportedBy(scene, "outside/deep", "root/b/link/deep") == By::neither; }));
    fs::permissions(scene.path("root/b").str(), fs::perms::owner_all);
    EXPECT_TRUE(scene.waitUntil(
        [&] { return reportedBy(scene, "outside/deep", "root/b/link/deep") == By::theLink; }));
}

}  // namespace
}  // namespace larkspan::platform
