#include "WatchScene.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace larkspan::platform {
namespace {
namespace fs = std::filesystem;

using testing::WatchScene;

TEST(LinuxFileEvents, ReportsEveryKindOfChangeOfAFile) {
    WatchScene scene;
    for (const char* file : {"root/a/appended", "root/a/removed", "root/a/moved", "moved in",
                             "root/a/touched", "root/a/rights"}) {
        scene.makeFolder("root/a");
        scene.write(file);
    }
    scene.start();
    std::ofstream open(scene.path("root/a/appended").str(), std::ios::app);
    const std::function<void()> changes[] = {
        [&] { scene.write("root/a/new"); },
        [&] { open << "stays open" << std::flush; },
        [&] { scene.remove("root/a/removed"); },
        [&] { scene.rename("root/a/moved", "moved out"); },
        [&] { scene.rename("moved in", "root/a/moved in"); },
        [&] { fs::last_write_time(scene.path("root/a/touched").str(), {}); },
        [&] { chmod(scene.path("root/a/rights").c_str(), 0600); },
        [&] { chmod(scene.path("root/a").c_str(), 0750); },
    };
    for (size_t number = 0; number < std::size(changes); ++number) {
        ASSERT_TRUE(scene.forget());
        changes[number]();
        EXPECT_TRUE(scene.sees("root/a")) << "change " << number;
    }
}

TEST(LinuxFileEvents, LosesNothingInFoldersThatHaveJustBeenMade) {
    WatchScene scene;
    scene.start();
    constexpr int loops = 60;
    for (int loop = 0; loop < loops; ++loop) {
        const std::string folder = "root/" + std::to_string(loop) + "/a/b";
        scene.makeFolder(folder);
        scene.write(folder + "/file");
    }
    for (int loop = 0; loop < loops; ++loop) {
        const std::string folder = "root/" + std::to_string(loop) + "/a/b";
        EXPECT_TRUE(scene.sees(folder)) << folder;
    }
    EXPECT_TRUE(scene.watches("root/59/a/b"));
}

TEST(LinuxFileEvents, FollowsFoldersThatMove) {
    WatchScene scene;
    scene.makeFolder("root/a/sub/deep");
    scene.makeFolder("outside/sub/deep");
    scene.start();

    scene.rename("root/a", "root/b");
    scene.makeFolder("root/a/sub");
    EXPECT_TRUE(scene.sees("root/b/sub/deep"));
    EXPECT_TRUE(scene.watches("root/b/sub/deep"));
    EXPECT_FALSE(scene.hasSeen("root/a/sub/deep"));
    EXPECT_TRUE(scene.watches("root/a/sub"));

    scene.rename("root/b", "gone");
    ASSERT_TRUE(scene.settle());
    EXPECT_FALSE(scene.watches("gone/sub/deep"));
    EXPECT_FALSE(scene.hasSeen("root/b/sub/deep"));

    scene.rename("outside", "root/inside");
    EXPECT_TRUE(scene.sees("root/inside/sub/deep"));
    EXPECT_TRUE(scene.watches("root/inside/sub/deep"));
    scene.rename("gone", "root/a/back");
    EXPECT_TRUE(scene.sees("root/a/back/sub/deep"));
    EXPECT_TRUE(scene.watches("root/a/back/sub/deep"));
}

// Whatever happened to folders and links, in the end each is watched under the name that it has:
// when events are read while it goes on, and when they are read only afterwards.
TEST(LinuxFileEvents, KnowsEveryFolderAfterAStormOfMoves) {
    std::atomic<bool> blocked{false};
    FileEventsOptions options;
    options.beforeReading = [&] { blocked.wait(true); };
    WatchScene scene(options);
    scene.makeFolder("root/inner");
    scene.makeFolder("outside");
    scene.start({"root/inner", "root"});
    std::mt19937 random(11);  // NOLINT: the same row every time
    const auto place = [&] {
        const char* const places[] = {"root/", "root/inner/", "outside/", "root/0/", "root/1/0/"};
        return places[random() % std::size(places)] + std::to_string(random() % 3);
    };
    for (int round = 0; round < 16; ++round) {
        blocked = round % 2 == 0;
        for (int step = 0; step < 60; ++step) {
            std::error_code ignored;
            const std::string item = scene.path(place()).str();
            switch (random() % 5) {
                case 0:
                case 1:
                    fs::create_directories(item, ignored);
                    break;
                case 2:
                    fs::rename(item, scene.path(place()).str(), ignored);
                    break;
                case 3:
                    fs::create_directory_symlink(scene.path(place()).str(), item, ignored);
                    break;
                default:
                    fs::remove_all(item, ignored);
            }
        }
        blocked = false;
        blocked.notify_all();
        ASSERT_TRUE(scene.forget());
        std::vector<std::string> folders{"root", "root/inner"};
        const std::string top = scene.path("").str() + '/';
        for (const auto& entry : fs::recursive_directory_iterator(scene.path("root").str())) {
            if (!entry.is_symlink() && entry.is_directory()) {
                folders.push_back(entry.path().string().substr(top.size()));
            }
        }
        for (const std::string& folder : folders) scene.changeIn(folder);
        ASSERT_TRUE(scene.settle());
        for (const std::string& folder : folders) {
            EXPECT_TRUE(scene.hasSeen(folder)) << folder << " in round " << round;
        }
    }
}

TEST(LinuxFileEvents, TakesAnyName) {
    WatchScene scene;
    scene.start();
    for (const std::string& name : {std::string("new\nline"), std::string("\xff\xfe"),
                                    std::string(255, 'x'), std::string(" ")}) {
        scene.makeFolder("root/" + name);
        EXPECT_TRUE(scene.sees("root/" + name));
        EXPECT_TRUE(scene.watches("root/" + name));
    }
}

TEST(LinuxFileEvents, SaysThatAPathIsTooLong) {
    WatchScene scene;
    const std::string name(250, 'd');
    fs::path deepest = scene.path("root").str();
    std::string shallow = "root";
    const fs::path before = fs::current_path();
    fs::current_path(deepest);
    for (int depth = 0; depth < 18; ++depth) {
        ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
        ASSERT_EQ(chdir(name.c_str()), 0);
        if (depth < 10) shallow += '/' + name;
    }
    fs::current_path(before);
    scene.start();
    EXPECT_TRUE(scene.root().watched);
    EXPECT_NE(scene.root().problem.find("too long"), std::string::npos);
    EXPECT_TRUE(scene.watches(shallow));
}

TEST(LinuxFileEvents, ABurstLosesNothing) {
    WatchScene scene;
    constexpr int folders = 50;
    for (int folder = 0; folder < folders; ++folder) {
        scene.makeFolder("root/" + std::to_string(folder));
    }
    scene.start();
    for (int file = 0; file < 1000; ++file) {
        scene.write("root/" + std::to_string(file % folders) + "/" +
                    std::to_string(file / folders));
    }
    ASSERT_TRUE(scene.settle());
    for (int folder = 0; folder < folders; ++folder) {
        EXPECT_TRUE(scene.hasSeen("root/" + std::to_string(folder))) << folder;
    }
    EXPECT_FALSE(scene.hasSeen("root", FileEventFlag::eventsDropped));
}

}  // namespace
}  // namespace larkspan::platform
