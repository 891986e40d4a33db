#include "kit/ZBAuthorization.h"
#include "kit/ZBFileManager.h"
#include "support/FakePlatformTest.h"

#include <cerrno>
#include <functional>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using namespace std::chrono_literals;
using platform::FileOperation;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class GuardedFilesTest : public testing::FakePlatformTest {
  protected:
    GuardedFilesTest() {
        ZBLog::createNewLog();
        ZBLog::finishWriting();
        writeFile(file, "content");
    }
    bool isThere(const Path& path) { return static_cast<bool>(fake.files.linkInfo(path)); }
    Path inTrash(const std::string& name) {
        return fake.places.homeDirectory() / fake.places.trashFolderInHome() / name;
    }
    size_t toolsStarted() const { return fake.processes.launches().size(); }

    const Path file{"/W/Cut.fcp"};
    const Path target{"/W/New.fcp"};
};

TEST_F(GuardedFilesTest, DoWhatTheySay) {
    EXPECT_TRUE(ZBFileManager::copyFile(file, target, 10s));
    EXPECT_TRUE(ZBFileManager::moveFile(target, Path("/W/Moved.fcp"), 10s));
    EXPECT_TRUE(ZBFileManager::trashFile(file, 10s));
    EXPECT_TRUE(ZBFileManager::removeFile(Path("/W/Moved.fcp"), 10s));
    EXPECT_THAT(namesIn(Path("/W")), IsEmpty());
    EXPECT_TRUE(isThere(inTrash("Cut.fcp")));
    // What is gone is as good as removed, and the Trash keeps what it has.
    EXPECT_TRUE(ZBFileManager::trashFile(file));
    EXPECT_TRUE(ZBFileManager::removeFile(file));
    writeFile(file, "another");
    EXPECT_TRUE(ZBFileManager::trashFile(file));
    EXPECT_EQ(*fake.files.readFile(inTrash("Cut.fcp"), 99), "content");
    EXPECT_THAT(loggedLines(), IsEmpty());
}

TEST_F(GuardedFilesTest, LogWhatFailedAndAuthorizeOnlyForRights) {
    const struct {
        FileOperation operation;
        std::function<bool(ShouldAuth)> run;
        const char* logged;
    } cases[] = {
        {FileOperation::moveItem, [&](ShouldAuth a) { return ZBFileManager::trashFile(file, a); },
         ""},
        {FileOperation::removeItem,
         [&](ShouldAuth a) { return ZBFileManager::removeFile(file, a); }, "Error removing file: "},
        {FileOperation::copyItem,
         [&](ShouldAuth a) { return ZBFileManager::copyFile(file, target, a); },
         "Error copying file: "},
        {FileOperation::moveItem,
         [&](ShouldAuth a) { return ZBFileManager::moveFile(file, target, a); },
         "Error moving file: "},
    };
    for (const auto& [operation, run, logged] : cases) {
        for (const auto& [number, shouldAuth] :
             {std::pair(ENOSPC, ShouldAuth::yes), std::pair(EACCES, ShouldAuth::no)}) {
            const size_t before = loggedLines().size();
            fake.faults.refuseCall(operation, 1, number);
            EXPECT_FALSE(run(shouldAuth)) << logged;
            EXPECT_TRUE(isThere(file));
            const auto lines = loggedLines();
            if (*logged != '\0') {
                ASSERT_GT(lines.size(), before);
                EXPECT_THAT(lines[before], ::testing::StartsWith(logged));
            }
        }
    }
    EXPECT_EQ(toolsStarted(), 0U);
}

TEST_F(GuardedFilesTest, MissingPathsAreNamed) {
    EXPECT_FALSE(ZBFileManager::copyFile(Path(), target));
    EXPECT_FALSE(ZBFileManager::copyFile(file, Path()));
    EXPECT_THAT(loggedLines(),
                ElementsAre("Error copying file: source path is nil",
                            "Error copying file /W/Cut.fcp: destination path is nil"));
    EXPECT_FALSE(ZBFileManager::copyFile(Path("/W/missing"), target));
    EXPECT_FALSE(ZBFileManager::moveFile(Path("/W/missing"), target, ShouldAuth::no));
}

TEST_F(GuardedFilesTest, WhatIsThereIsNotReplaced) {
    writeFile(target, "other");
    EXPECT_FALSE(ZBFileManager::copyFile(file, target, ShouldAuth::no));
    EXPECT_FALSE(ZBFileManager::moveFile(file, target, ShouldAuth::no));
    EXPECT_EQ(*fake.files.readFile(target, 99), "other");
    EXPECT_EQ(*fake.files.readFile(file, 99), "content");
}

TEST_F(GuardedFilesTest, UnlockBeforeTheyAct) {
    ASSERT_FALSE(fake.files.setLocked(file, true));
    EXPECT_FALSE(ZBFileManager::moveFile(file, target, ShouldAuth::no))
        << "moving unlocks the destination alone";
    EXPECT_TRUE(ZBFileManager::removeFile(file, ShouldAuth::no));
    writeFile(file, "x");
    ASSERT_FALSE(fake.files.setLocked(file, true));
    fake.faults.refuseCall(FileOperation::setLocked, 1, EPERM);
    EXPECT_FALSE(ZBFileManager::removeFile(file, ShouldAuth::no));
    EXPECT_THAT(loggedLines(),
                ::testing::Contains(::testing::StartsWith("Unable to unlock file /W/Cut.fcp: ")));
    EXPECT_TRUE(isThere(file));
}

TEST_F(GuardedFilesTest, ARenameOfCaseGoesByWayOfAnotherName) {
    EXPECT_TRUE(ZBFileManager::moveFile(file, Path("/W/CUT.fcp")));
    EXPECT_THAT(namesIn(Path("/W")), ElementsAre("CUT.fcp"));
    // When the second half fails the file gets its name back, and is then moved directly.
    fake.faults.refuseCall(FileOperation::moveItem, 2, EIO);
    EXPECT_TRUE(ZBFileManager::moveFile(Path("/W/CUT.fcp"), file));
    EXPECT_THAT(namesIn(Path("/W")), ElementsAre("Cut.fcp"));
}

TEST_F(GuardedFilesTest, LockWholeFoldersButNotTheFolders) {
    writeFile(Path("/W/in/deep/file"), "x");
    ZBFileManager::lockFolder(Path("/W"));
    for (const auto& [path, locked] : {std::pair("/W/Cut.fcp", true),
                                       {"/W/in/deep/file", true},
                                       {"/W/in", false},
                                       {"/W", false}}) {
        EXPECT_EQ(ZBFileManager::isFileLocked(Path(path)), locked) << path;
    }
    ZBFileManager::unlockFolder(Path("/W"));
    EXPECT_FALSE(ZBFileManager::isFileLocked(Path("/W/in/deep/file")));
}

TEST_F(GuardedFilesTest, FoldersOfDecorationAreEmpty) {
    const auto folder = [&](const char* name, std::initializer_list<const char*> files) {
        Path path = Path("/E") / name;
        EXPECT_FALSE(fake.files.createFolder(path));
        for (const char* inIt : files) writeFile(path / inIt, "");
        return path;
    };
    const struct {
        Path path;
        bool empty;
    } cases[] = {
        {folder("bare", {}), true},
        {folder("decorated", {".DS_Store", "Icon\r"}), true},
        {folder("nested", {"a/b/.DS_Store", "c/Icon\r"}), true},
        {folder("hidden", {".other"}), false},
        {folder("deep", {"a/b/file"}), false},
        {Path("/E/missing"), true},
    };
    for (const auto& [path, empty] : cases) {
        EXPECT_EQ(ZBFileManager::isFolderEmpty(path), empty) << path.str();
        EXPECT_EQ(ZBFileManager::removeFolderIfEmpty(path), empty) << path.str();
        EXPECT_EQ(isThere(path), !empty) << path.str();
    }
}

TEST_F(GuardedFilesTest, NamesSizesAndShortWaits) {
    EXPECT_EQ(ZBFileManager::uniqueFilename(Path("/W/Free.txt")), Path("/W/Free.txt"));
    writeFile(Path("/W/Cut 2.fcp"), "");
    writeFile(Path("/W/none"), "");
    EXPECT_EQ(ZBFileManager::uniqueFilename(file), Path("/W/Cut 3.fcp"));
    EXPECT_EQ(ZBFileManager::uniqueFilename(Path("/W/none")), Path("/W/none 2"));
    for (const auto& [size, text] : {std::pair(0.0, "0 B"),
                                     {1023.0, "1023 B"},
                                     {1536.0, "1.50 KB"},
                                     {2097152.0, "2.00 MB"},
                                     {1342177280.0, "1.25 GB"}}) {
        EXPECT_EQ(ZBFileManager::formatFileSize(size), text);
    }
    const Seconds start = fake.clock.uptime();
    ZBFileManager::waitForFileCreation(file, 10s);
    EXPECT_EQ(fake.clock.uptime(), start);
    ZBFileManager::waitForFileCreation(Path("/W/missing"), 10s);
    EXPECT_LT(fake.clock.uptime() - start, 1ms);
    EXPECT_THAT(loggedLines(), ElementsAre("File /W/missing is not yet created. Waiting..."));
}

TEST_F(GuardedFilesTest, TellsTheFactsOfAVolume) {
    fake.volumes.mount(Path("/Volumes/Disk"));
    const auto facts = ZBFileManager::infoForDiskAtMountpoint(Path("/Volumes/Disk"));
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->size(), 8U);
    EXPECT_EQ(*facts->at("VolumeName").string(), "Disk");
    EXPECT_FALSE(ZBFileManager::infoForDiskAtMountpoint(Path("/Volumes")));
}

}  // namespace
}  // namespace larkspan
