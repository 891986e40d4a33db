#include "kit/ZBFileManager.h"
#include "support/FakePlatformTest.h"

#include <cerrno>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using platform::FileOperation;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ArchivingTest : public testing::FakePlatformTest {
  protected:
    ArchivingTest() {
        ZBLog::createNewLog();
        ZBLog::finishWriting();
        writeFile(Path("/W/Film/cut"), "content");
    }
    Path inTrash(const std::string& name) {
        return fake.places.homeDirectory() / fake.places.trashFolderInHome() / name;
    }
    std::string read(const Path& path) {
        const auto content = fake.files.readFile(path, 9999);
        return content ? *content : "(missing)";
    }

    const Path film{"/W/Film"};
    const Path archive{"/W/Film.zip"};
    const Path out{"/W/Out"};
};

TEST_F(ArchivingTest, WhatIsInTheWayGoesToTheTrash) {
    writeFile(archive, "old archive");
    writeFile(out / "old", "old folder");
    EXPECT_TRUE(ZBFileManager::compressFile(film, archive));
    EXPECT_EQ(read(inTrash("Film.zip")), "old archive");
    EXPECT_TRUE(ZBFileManager::decompressFile(archive, out));
    EXPECT_EQ(read(inTrash("Out") / "old"), "old folder");
    EXPECT_EQ(read(out / "Film/cut"), "content");
    EXPECT_THAT(loggedLines(), IsEmpty());
}

TEST_F(ArchivingTest, WithoutTheParentOnlyWhatIsInTheFolder) {
    EXPECT_TRUE(ZBFileManager::compressFile(film, archive, IncludeParent::no));
    EXPECT_TRUE(ZBFileManager::decompressFile(archive, out));
    EXPECT_EQ(read(out / "cut"), "content");
}

TEST_F(ArchivingTest, FailuresAreLoggedAndLoseNothing) {
    EXPECT_FALSE(ZBFileManager::compressFile(Path("/W/missing"), archive));
    EXPECT_FALSE(ZBFileManager::decompressFile(archive, out));
    EXPECT_THAT(loggedLines(), ElementsAre(HasSubstr("Error compressing file: "),
                                           HasSubstr("Error decompressing file: ")));
    // An old folder that the Trash refuses is not written into, nor is an old archive taken for
    // the new one.
    ASSERT_TRUE(ZBFileManager::compressFile(film, archive));
    const std::string whole = read(archive);
    writeFile(out / "old", "old folder");
    fake.faults.refuseCall(FileOperation::moveItem, 1, ENOSPC);
    EXPECT_FALSE(ZBFileManager::decompressFile(archive, out));
    EXPECT_EQ(read(out / "old"), "old folder");
    fake.faults.refuseCall(FileOperation::moveItem, 1, ENOSPC);
    EXPECT_FALSE(ZBFileManager::compressFile(film, archive));
    EXPECT_EQ(read(archive), whole);
}

}  // namespace
}  // namespace larkspan
