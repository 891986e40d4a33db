#include "platform/fake/FakeBundles.h"
#include "platform/linux/LinuxBundles.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace larkspan::platform {
namespace {

void writeBundle(const Path& path, const std::string& identifier, const std::string& executable) {
    std::filesystem::create_directories((path / "Contents/MacOS").str());
    std::ofstream((path / "Contents/Info.plist").str())
        << R"(<?xml version="1.0"?><plist version="1.0"><dict><key>CFBundleIdentifier</key><string>)"
        << identifier << "</string><key>CFBundleExecutable</key><string>" << executable
        << "</string></dict></plist>";
}

// The same two bundles, one in the other, with the inner one running, and a third beside them.
struct FakeScene {
    const Path outer{"/opt/Larkspan.app"};
    const Path inner = outer / "Contents/LarkspanHelper.app";
    const Path other{"/opt/Other.app"};
    FakeBundles bundles;

    FakeScene() {
        bundles.main = FakeBundles::bundle(inner, "com.corvane.LarkspanHelper");
        bundles.around = {FakeBundles::bundle(outer, "com.corvane.Larkspan")};
        bundles.installed[other] = FakeBundles::bundle(other, "com.example.Other");
    }
};

struct LinuxScene {
    const testing::TemporaryFolder folder;
    const Path outer = folder.path() / "Larkspan.app";
    const Path inner = outer / "Contents/LarkspanHelper.app";
    const Path other = folder.path() / "Other.app";
    LinuxBundles bundles = made();

    LinuxBundles made() const {
        writeBundle(outer, "com.corvane.Larkspan", "Larkspan");
        writeBundle(inner, "com.corvane.LarkspanHelper", "LarkspanHelper");
        writeBundle(other, "com.example.Other", "Other");
        return LinuxBundles(inner / "Contents/MacOS/LarkspanHelper");
    }
};

template <class Scene>
class BundlesContract : public ::testing::Test {
  protected:
    Scene scene;
};
using Scenes = ::testing::Types<FakeScene, LinuxScene>;
TYPED_TEST_SUITE(BundlesContract, Scenes);

TYPED_TEST(BundlesContract, TheMainBundleIsTheInnermost) {
    const Bundle main = this->scene.bundles.mainBundle();
    EXPECT_EQ(main.path, this->scene.inner);
    EXPECT_EQ(main.identifier(), "com.corvane.LarkspanHelper");
    EXPECT_EQ(main.executable, this->scene.inner / "Contents/MacOS/LarkspanHelper");
    EXPECT_EQ(main.infoString("NoSuchKey"), "");
}

TYPED_TEST(BundlesContract, LoadedBundlesAreTheOnesAround) {
    auto& bundles = this->scene.bundles;
    const auto outer = bundles.loadedBundle("com.corvane.Larkspan");
    ASSERT_TRUE(outer);
    EXPECT_EQ(outer->path, this->scene.outer);
    EXPECT_EQ(outer->executable, this->scene.outer / "Contents/MacOS/Larkspan");
    EXPECT_EQ(bundles.loadedBundle("com.corvane.LarkspanHelper")->path, this->scene.inner);
    EXPECT_FALSE(bundles.loadedBundle("com.example.Other"));
    EXPECT_FALSE(bundles.loadedBundle(""));
}

TYPED_TEST(BundlesContract, ABundleElsewhereIsReadFromItsPath) {
    EXPECT_EQ(this->scene.bundles.bundleAtPath(this->scene.other)->identifier(),
              "com.example.Other");
    EXPECT_FALSE(this->scene.bundles.bundleAtPath(this->scene.other / "Contents"));
}

TEST(LinuxBundlesTests, AProgramOutsideAnyBundleHasItsFolder) {
    LinuxBundles bundles(Path("/usr/local/bin/helper"));
    EXPECT_EQ(bundles.mainBundle().path, Path("/usr/local/bin"));
    EXPECT_EQ(bundles.mainBundle().executable, Path("/usr/local/bin/helper"));
    EXPECT_TRUE(bundles.mainBundle().info.dictionary()->empty());
    EXPECT_FALSE(bundles.loadedBundle(""));
    EXPECT_TRUE(LinuxBundles().mainBundle().executable.str().ends_with("_tests"));
}

TEST(LinuxBundlesTests, ATornInfoPlistLeavesTheBundleWithoutIdentifier) {
    const testing::TemporaryFolder folder;
    const Path path = folder.path() / "Torn.app";
    std::filesystem::create_directories((path / "Contents").str());
    std::ofstream((path / "Contents/Info.plist").str()) << "<plist><dict><key>CFBundleIden";
    LinuxBundles bundles(path / "Contents/MacOS/Torn");
    EXPECT_EQ(bundles.mainBundle().path, path);
    EXPECT_EQ(bundles.mainBundle().identifier(), "");
    EXPECT_FALSE(bundles.bundleAtPath(path));
}

TEST(LinuxBundlesTests, AnUpdateOnDiskLeavesTheRunningBundleAsItWas) {
    LinuxScene scene;
    writeBundle(scene.inner, "com.corvane.Newer", "LarkspanHelper");
    EXPECT_EQ(scene.bundles.mainBundle().identifier(), "com.corvane.LarkspanHelper");
    EXPECT_EQ(scene.bundles.bundleAtPath(scene.inner)->identifier(), "com.corvane.Newer");
}

TEST(BundlePathsTests, FollowTheTextOfThePath) {
    using Paths = std::vector<Path>;
    EXPECT_EQ(bundlePathsAround(Path("/A.app/Contents/B.app/Contents/MacOS/B")),
              (Paths{Path("/A.app/Contents/B.app"), Path("/A.app")}));
    EXPECT_EQ(bundlePathsAround(Path("/opt/A.application/Contents/MacOS/A")), Paths());
    EXPECT_EQ(bundlePathsAround(Path("/opt/A.app/MacOS/A")), Paths());
    EXPECT_EQ(bundlePathsAround(Path("/.app/Contents/A")), Paths());
    EXPECT_EQ(bundlePathsAround(Path(".app/Contents/A")), Paths());
    EXPECT_EQ(bundlePathsAround(Path()), Paths());
}

}  // namespace
}  // namespace larkspan::platform
