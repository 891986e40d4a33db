#include "platform/FilesUnderTest.h"
#include "platform/FinderInfo.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeFiles.h"
#include "platform/fake/FaultyFiles.h"

#include <cerrno>

namespace larkspan::testing {
namespace {

using platform::FileOperation;

class FakeFilesTest : public ::testing::Test {
  protected:
    platform::FakeClock clock_;
    platform::FakeFiles files_{clock_};
};

TEST_F(FakeFilesTest, DatesComeFromTheClock) {
    files_.addFile(Path("/a/file"), "text", dateFromUnixTime(7));
    EXPECT_EQ(files_.info(Path("/a/file"))->modificationDate, dateFromUnixTime(7));
    clock_.advance(std::chrono::hours(1));
    ASSERT_FALSE(files_.writeFileAtomically(Path("/a/file"), "new"));
    EXPECT_EQ(files_.info(Path("/a/file"))->modificationDate, clock_.now());
    EXPECT_EQ(files_.info(Path("/a"))->modificationDate, clock_.now());
}

TEST_F(FakeFilesTest, FillsUp) {
    files_.addFile(Path("/a"), "12345678");
    files_.setCapacity(20);
    EXPECT_EQ(files_.diskSpace(Path("/"))->free, 12U);
    EXPECT_FALSE(files_.copyItem(Path("/a"), Path("/b")));
    EXPECT_EQ(codeOf(files_.copyItem(Path("/a"), Path("/c"))), ENOSPC);
    EXPECT_EQ(codeOf(files_.writeFileAtomically(Path("/c"), "12345")), ENOSPC);
    EXPECT_FALSE(files_.exists(Path("/c")));
    const auto writer = files_.openForAppending(Path("/b"));
    EXPECT_EQ(codeOf((*writer)->write("12345")), ENOSPC);
    EXPECT_EQ(*files_.readFile(Path("/b"), 99), "123456781234");
}

TEST_F(FakeFilesTest, TypeCodeStandsInTheAttribute) {
    files_.addFile(Path("/a"), "");
    files_.setAttribute(Path("/a"), platform::finderInfoAttribute, "FcPr" + std::string(28, 0));
    EXPECT_EQ(files_.typeCode(Path("/a")), "FcPr");
}

TEST_F(FakeFilesTest, FaultyFilesRefuseWhatTheyWereToldTo) {
    platform::FaultyFiles faulty(files_);
    files_.addFile(Path("/a/file"), "text");
    files_.addFile(Path("/ab"), "text");
    faulty.refuseCall(FileOperation::copyItem, 2, ENOSPC);
    EXPECT_EQ(codeOf(faulty.copyItem(Path("/a/file"), Path("/b"))), 0);
    EXPECT_EQ(codeOf(faulty.copyItem(Path("/a/file"), Path("/c"))), ENOSPC);
    EXPECT_EQ(codeOf(faulty.copyItem(Path("/a/file"), Path("/c"))), 0);
    EXPECT_EQ(faulty.callCount(FileOperation::copyItem), 3);

    const auto folder = faulty.openFolder(Path("/a"));
    faulty.refusePath(Path("/a"), EIO);
    EXPECT_FALSE(faulty.exists(Path("/a/file")));
    EXPECT_EQ((*folder)->info("file").error().code, EIO);
    EXPECT_EQ((*folder)->entries().error().code, EIO);
    EXPECT_EQ(codeOf(faulty.moveItem(Path("/ab"), Path("/a/new"))), EIO);
    EXPECT_EQ(codeOf(faulty.readFile(Path("/ab"), 9)), 0);
    faulty.refusePath(Path("/a"), 0);
    EXPECT_EQ((*folder)->entries()->size(), 1U);
    EXPECT_TRUE(files_.exists(Path("/a/file"))) << "what was refused was not done";
}

TEST_F(FakeFilesTest, FaultyFilesRunHooksBeforeCalls) {
    platform::FaultyFiles faulty(files_);
    files_.addFile(Path("/a"), "text");
    faulty.beforeCall(FileOperation::readFile, [&](const Path& path) {
        ASSERT_FALSE(faulty.writeFileAtomically(path, "changed"));
    });
    EXPECT_EQ(*faulty.readFile(Path("/a"), 9), "changed");
}

}  // namespace
}  // namespace larkspan::testing
