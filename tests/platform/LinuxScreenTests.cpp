#include "PrivateBus.h"
#include "platform/linux/LinuxProcesses.h"
#include "platform/linux/LinuxScreen.h"
#include "support/PictureUnderTest.h"
#include "support/XServer.h"

#include <chrono>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace larkspan::platform {
namespace {

using namespace std::chrono_literals;

// No screen but the one that a test provides.
struct LinuxScreenTest : ::testing::Test {
    std::optional<std::string> capture() {
        LinuxScreen screen(processes);
        const auto start = std::chrono::steady_clock::now();
        auto picture = screen.captureJPEG({.largestWidth = 1024, .compressionFactor = 0.7});
        took = std::chrono::steady_clock::now() - start;
        return picture;
    }
    // A program called grim that runs these commands.
    void installGrim(const std::string& commands) const {
        const std::string program = (folder.path() / "grim").str();
        std::ofstream(program) << "#!/bin/sh\n" << commands << '\n';
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    }

    larkspan::testing::TemporaryFolder folder;
    LinuxProcesses processes;
    Seconds took{};
    ScopedVariable noBus{"DBUS_SESSION_BUS_ADDRESS", nullptr};
    ScopedVariable noRuntimeFolder{"XDG_RUNTIME_DIR", folder.path().c_str()};
    ScopedVariable noDisplay{"DISPLAY", nullptr};
    ScopedVariable noWayland{"WAYLAND_DISPLAY", nullptr};
    ScopedVariable path{"PATH", (folder.path().str() + ":/usr/bin:/bin").c_str()};
};

TEST_F(LinuxScreenTest, ThereIsNoPictureWithoutAScreen) {
    EXPECT_FALSE(capture());
    for (const char* name : {":7654321", "nonsense", ":", "elsewhere.example:0", "unix:7654321"}) {
        const ScopedVariable display("DISPLAY", name);
        EXPECT_FALSE(capture()) << name;
    }
    const ScopedVariable wayland("WAYLAND_DISPLAY", "wayland-0");
    EXPECT_FALSE(capture());
    EXPECT_LT(took, 2s);
}

TEST_F(LinuxScreenTest, TakesTheXDisplay) {
    struct Case {
        const char* screen;
        PictureSize size;
        std::uint32_t left, right;  // the server's pixels
    };
    const Case cases[] = {
        {"1600x1200x24", {1024, 768}, 0xFF0000, 0x0020FF},
        {"1024x600x24", {1024, 600}, 0xFF0000, 0x0020FF},
        {"640x480x16", {640, 480}, 0xF800, 0x011F},
    };
    for (const Case& c : cases) {
        const auto server = testing::XServer::start(c.screen);
        if (!server) GTEST_SKIP() << "no Xvfb";
        server->paint(c.left, c.right);
        const ScopedVariable display("DISPLAY", server->display().c_str());
        const auto file = capture();
        ASSERT_TRUE(file) << c.screen;
        const testing::PictureUnderTest picture(*file);
        EXPECT_EQ(picture.format(), "jpeg");
        EXPECT_EQ(picture.size(), c.size) << c.screen;
        EXPECT_TRUE(picture.shows(20, 20, 0xFF0000)) << c.screen;
        EXPECT_TRUE(picture.shows(c.size.width / 2 - 20, c.size.height - 1, 0xFF0000)) << c.screen;
        EXPECT_TRUE(picture.shows(c.size.width / 2 + 20, 20, 0x0020FF)) << c.screen;

        const ScopedVariable secondScreen("DISPLAY", (server->display() + ".1").c_str());
        EXPECT_FALSE(capture()) << "it has one screen only";
    }
}

TEST_F(LinuxScreenTest, ScreensWithATableOfColoursGiveNone) {
    const auto server = testing::XServer::start("640x480x8");
    if (!server) GTEST_SKIP() << "no Xvfb, or none with such screens";
    const ScopedVariable display("DISPLAY", server->display().c_str());
    EXPECT_FALSE(capture());
}

TEST_F(LinuxScreenTest, ShowsTheXServerItsCookie) {
    const auto server = testing::XServer::start("320x200x24", "0123456789abcdef");
    if (!server) GTEST_SKIP() << "no Xvfb";
    const ScopedVariable display("DISPLAY", server->display().c_str());
    {
        const ScopedVariable none("XAUTHORITY", "/nonexistent");
        EXPECT_FALSE(capture());
    }
    const ScopedVariable authority("XAUTHORITY", server->authority().c_str());
    EXPECT_TRUE(capture());
}

TEST_F(LinuxScreenTest, AnXServerThatHangsCostsTwoSeconds) {
    const auto server = testing::XServer::start("320x200x24");
    if (!server) GTEST_SKIP() << "no Xvfb";
    const ScopedVariable display("DISPLAY", server->display().c_str());
    server->freeze();
    EXPECT_FALSE(capture());
    EXPECT_GE(took, 1900ms);
    EXPECT_LT(took, 5s);
}

TEST_F(LinuxScreenTest, InAWaylandSessionTheProgramGrimIsAsked) {
    const auto server = testing::XServer::start("1600x100x24");
    if (!server) GTEST_SKIP() << "no Xvfb";
    server->paint(0x00FF00, 0x00FF00);
    std::string image;
    {
        const ScopedVariable display("DISPLAY", server->display().c_str());
        image = capture().value_or("");
    }
    const std::string imageFile = (folder.path() / "image").str();
    std::ofstream(imageFile) << image;
    const ScopedVariable wayland("WAYLAND_DISPLAY", "wayland-0");
    // What the X server of such a session shows is not the screen.
    const ScopedVariable display("DISPLAY", server->display().c_str());
    EXPECT_FALSE(capture());
    installGrim("[ \"$*\" = '-t png -l 1 -' ] && exec cat '" + imageFile + "'");
    const auto picture = capture();
    ASSERT_TRUE(picture);
    EXPECT_EQ(testing::PictureUnderTest(*picture).size(), (PictureSize{1024, 64}));
    EXPECT_TRUE(testing::PictureUnderTest(*picture).shows(500, 30, 0x00FF00));

    installGrim("cat '" + imageFile + "'; exit 1");
    EXPECT_FALSE(capture());
    installGrim("echo compositor does not support this");
    EXPECT_FALSE(capture());
    installGrim("sleep 60 & exec sleep 60");
    EXPECT_FALSE(capture());
    EXPECT_LT(took, 5s);
}

}  // namespace
}  // namespace larkspan::platform
