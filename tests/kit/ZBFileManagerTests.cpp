#include "kit/ZBFileManager.h"
#include "support/FakePlatformTest.h"

#include <cerrno>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ZBFileManagerTest : public testing::FakePlatformTest {
  protected:
    Seconds waited(const Path& path, const std::string& lockFile = {}) {
        const Date before = fake.clock.now();
        ZBFileManager::waitForFileWrites(path, lockFile);
        return secondsBetween(before, fake.clock.now());
    }
    const Path file{"/W/Cut.fcp"};
};

TEST_F(ZBFileManagerTest, WaitsUntilAFileHasBeenQuietForFourSeconds) {
    ZBLog::createNewLog();
    writeFile(file, "x", fake.clock.now() - std::chrono::seconds(1));
    const Seconds time = waited(file);
    EXPECT_GE(time, Seconds(2.99));
    EXPECT_LT(time, Seconds(3.1));
    EXPECT_THAT(loggedLines(),
                ElementsAre("File /W/Cut.fcp is currently being written to. Waiting...",
                            "File /W/Cut.fcp finished writing."));
}

TEST_F(ZBFileManagerTest, DoesNotWaitForAQuietOrMissingFile) {
    ZBLog::createNewLog();
    writeFile(file, "x", fake.clock.now() - std::chrono::seconds(4));
    EXPECT_EQ(waited(file), Seconds(0));
    EXPECT_EQ(waited(Path("/W/missing.fcp")), Seconds(0));
    EXPECT_EQ(waited(file, "missing.lock"), Seconds(0));
    EXPECT_THAT(loggedLines(), IsEmpty());
    writeFile(Path("/W/a.lock"), "");
    EXPECT_EQ(waited(file, "a.lock"), Seconds(0));
    EXPECT_EQ(loggedLines().size(), 2U);
}

TEST_F(ZBFileManagerTest, NeverWaitsForGood) {
    writeFile(file, "x", fake.clock.now() + std::chrono::hours(1000));
    EXPECT_LT(waited(file), Seconds(5));
}

TEST_F(ZBFileManagerTest, KnowsMissingVolumes) {
    ASSERT_FALSE(fake.files.createFolder(Path("/Volumes/Here")));
    EXPECT_TRUE(ZBFileManager::isVolumeMountedForPath(Path("/Work")));
    EXPECT_TRUE(ZBFileManager::isVolumeMountedForPath(Path("/Volumes")));
    EXPECT_TRUE(ZBFileManager::isVolumeMountedForPath(Path("/Volumes/Here/a/b")));
    EXPECT_FALSE(ZBFileManager::isVolumeMountedForPath(Path("/Volumes/Gone/a/b")));
    EXPECT_THAT(fake.console.reported(), IsEmpty());
    EXPECT_FALSE(ZBFileManager::isDriveMountedForPath(Path("/Volumes/Gone/a/b")));
    EXPECT_FALSE(ZBFileManager::createDirectory(Path("/Volumes/Gone/a")));
    EXPECT_THAT(fake.console.reported(),
                ElementsAre("mountpoint: //Volumes/Gone", "mountpoint: //Volumes/Gone",
                            "Unable to create directory. Drive is not mounted."));
}

TEST_F(ZBFileManagerTest, CreatesFolders) {
    ZBLog::createNewLog();
    EXPECT_TRUE(ZBFileManager::createDirectory(Path("/S/a/b"), std::chrono::seconds(10)));
    EXPECT_TRUE(ZBFileManager::createDirectory(Path("/S/a/b")));
    EXPECT_TRUE(fake.files.isFolder(Path("/S/a/b")));
    writeFile(Path("/S/file"), "x");
    EXPECT_FALSE(ZBFileManager::createDirectory(Path("/S/file/c"), std::chrono::seconds(10)));
    EXPECT_THAT(loggedLines(), Contains(::testing::StartsWith("Error creating folder: ")));
}

TEST_F(ZBFileManagerTest, TriesAgainWithAdministratorRightsOnlyWhereRightsAreMissing) {
    const Path mkdir("/bin/mkdir");
    fake.files.addFile(mkdir, "tool");
    ASSERT_FALSE(fake.files.setPermissions(mkdir, 0755));
    fake.processes.setProgram(mkdir, {});
    const auto tried = [&](unsigned user, int errorNumber) {
        ZBLog::finishWriting();  // the writer asks for the user, too
        fake.places.id = user;
        fake.faults.refuseCall(platform::FileOperation::createFolder, 1, errorNumber);
        return ZBFileManager::createDirectory(Path("/S/new"));
    };
    EXPECT_FALSE(tried(1000, EACCES));
    EXPECT_FALSE(tried(0, ENOSPC));
    EXPECT_TRUE(fake.processes.launches().empty());
    EXPECT_TRUE(tried(0, EACCES));
    ASSERT_EQ(fake.processes.launches().size(), 1U);
    EXPECT_THAT(fake.processes.launches()[0].arguments, ElementsAre("-p", "/S/new"));
    EXPECT_EQ(fake.privileges.timesAsked(), 1);
}

TEST_F(ZBFileManagerTest, KnowsFilePackages) {
    for (const char* name : {"a.app", "b.FCPBUNDLE", "c.fcpproject", "d.fcpevent", "e.plugin"}) {
        EXPECT_TRUE(ZBFileManager::isFilePackage(Path(name))) << name;
    }
    for (const char* name : {"a", "app", ".app", "b.fcp", "c.localized"}) {
        EXPECT_FALSE(ZBFileManager::isFilePackage(Path(name))) << name;
    }
}

}  // namespace
}  // namespace larkspan
