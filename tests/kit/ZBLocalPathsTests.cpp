#include "kit/ZBLocalPaths.h"
#include "support/FakePlatformTest.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using platform::DirectoryKind;
using platform::Domain;

class ZBLocalPathsTest : public testing::FakePlatformTest {};

TEST_F(ZBLocalPathsTest, ProtectsStandardFolders) {
    const Path prefs = *ZBLocalPaths::prefsDirectory(UserDomain::yes);
    struct Case {
        Path path;
        bool exact;
        bool loose;
    };
    const Case cases[] = {
        {Path("/"), true, true},
        {Path(""), false, false},
        {Path("/a"), false, false},
        {Path("/usr/local/bin"), false, true},
        {Path("/usrlocal"), false, true},
        {Path("/Systematic"), false, true},
        {Path("/private/var/x"), false, true},
        {Path("/Volumes"), true, true},
        {Path("/Volumes/Disk"), false, false},
        {Path("/Users/Shared"), true, true},
        // The slash takes one letter of the name with it.
        {Path("/Users/Shared/"), false, false},
        {Path("/Users/SharedX/"), true, true},
        {prefs, true, true},
        {prefs / "inside", false, false},
        {*ZBLocalPaths::userDirectory(), true, true},
        {*ZBLocalPaths::desktopDirectory(), true, true},
        {*ZBLocalPaths::applicationDirectory(UserDomain::no), true, true},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ZBLocalPaths::isPathSystemDirectory(c.path, ExactMatch::yes), c.exact) << c.path;
        EXPECT_EQ(ZBLocalPaths::isPathSystemDirectory(c.path), c.loose) << c.path;
    }
}

TEST_F(ZBLocalPathsTest, RootActsForTheConsoleUser) {
    fake.places.id = 0;
    fake.places.user = "root";
    fake.places.home = Path("/root");
    fake.places.otherHomes["editor"] = Path("/home/editor");
    const auto library = [&](const char* rootsOwn) {
        fake.places.folders[{DirectoryKind::library, Domain::user}] = {Path(rootsOwn)};
        return ZBLocalPaths::libraryDirectory(UserDomain::yes);
    };
    EXPECT_EQ(library("/root/.local/share/x"), Path("/home/editor/.local/share/x"));
    EXPECT_EQ(library("/var/root/Library"), Path("/home/editor/Library"));
    // Sixteen characters go, one fewer than the prefix has.
    EXPECT_EQ(library("/private/var/root/Library"), Path("/home/editor/t/Library"));
    EXPECT_EQ(ZBLocalPaths::userDirectory(), Path("/home/editor"));
    EXPECT_EQ(ZBLocalPaths::username(), "editor");

    fake.places.console = "root";
    EXPECT_EQ(library("/root/.local/share/x"), Path("/root/.local/share/x"));
    EXPECT_FALSE(ZBLocalPaths::actsForConsoleUser());

    fake.places.console.reset();
    EXPECT_EQ(library("/root/.local/share/x"), std::nullopt);
    EXPECT_EQ(ZBLocalPaths::userDirectory(), std::nullopt);
    EXPECT_EQ(ZBLocalPaths::trashDirectory(), std::nullopt);
    EXPECT_NE(ZBLocalPaths::libraryDirectory(UserDomain::no), std::nullopt);
}

TEST_F(ZBLocalPathsTest, MakesTemporaryNames) {
    EXPECT_EQ(ZBLocalPaths::randomString(0), "");
    const std::string text = ZBLocalPaths::randomString(200);
    EXPECT_EQ(text.size(), 200U);
    EXPECT_EQ(text.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789"), std::string::npos);
    const Path file = ZBLocalPaths::tempFile();
    EXPECT_TRUE(file.isWithin(ZBLocalPaths::tempDirectory()));
    EXPECT_EQ(file.lastPathComponent().size(), 36U + 8U);
    EXPECT_FALSE(fake.files.exists(file));
}

TEST_F(ZBLocalPathsTest, KnowsBackupVolumes) {
    EXPECT_TRUE(ZBLocalPaths::isPathOnTimeMachineVolume(
        Path("/Volumes/Backup/Backups.backupdb/Mac/Latest")));
    EXPECT_FALSE(ZBLocalPaths::isPathOnTimeMachineVolume(Path("/Backups.backupdb/x")));
    EXPECT_FALSE(ZBLocalPaths::isPathOnTimeMachineVolume(Path("/Volumes/B/Backups.backupdbX")));
}

}  // namespace
}  // namespace larkspan
