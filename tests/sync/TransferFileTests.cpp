#include "kit/Identifiers.h"
#include "kit/ZBLocalPaths.h"
#include "support/FakePlatformTest.h"
#include "sync/TransferFile.h"

#include <cerrno>
#include <optional>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TransferFileTest : public testing::FakePlatformTest {
  protected:
    TransferFileTest() { fake.files.addFolder(temp); }
    // As a process that was killed has left it.
    void leave(const Path& path, int processID) {
        leave(Value::Dictionary{{"path", path.str()}, {"processID", processID}});
    }
    void leave(const Value& record) {
        static int count = 0;
        ASSERT_FALSE(savePropertyList(record, records / (std::to_string(++count) + ".plist")));
    }
    const Path temp = fake.places.temporary;
    const Path records =
        *ZBLocalPaths::appSupportDirectory(UserDomain::yes) / "Corvane/Larkspan/Transfers";
};

TEST_F(TransferFileTest, GoesWithItsTransfer) {
    {
        const TransferFile file(temp / ".larkspan-upload-A");
        EXPECT_FALSE(file.problem());
        EXPECT_EQ(namesIn(records).size(), 1U);
        writeFile(file.path() / "a.zip", "archive");
    }
    EXPECT_THAT(namesIn(temp), IsEmpty());
    EXPECT_THAT(namesIn(records), IsEmpty());
}

TEST_F(TransferFileTest, WhatAKilledProcessLeftIsCleared) {
    const int running = fake.applications.start(frontEndBundleIdentifier).processID;
    writeFile(temp / ".larkspan-upload-left/a.zip", "archive");
    writeFile(temp / ".larkspan-upload-running/a.zip", "archive");
    writeFile(Path("/Down/.larkspan-download-X"), "part");
    leave(temp / ".larkspan-upload-left", 999'999);
    leave(temp / ".larkspan-upload-running", running);
    leave(Path("/Down/.larkspan-download-X"), 999'999);
    leave(temp / ".larkspan-upload-gone", 999'999);
    EXPECT_EQ(TransferFile::clearLeftovers(), 2);
    EXPECT_THAT(namesIn(temp), ElementsAre(".larkspan-upload-running"));
    EXPECT_THAT(namesIn(Path("/Down")), IsEmpty());
    EXPECT_EQ(namesIn(records).size(), 1U);
}

TEST_F(TransferFileTest, NothingElseIsRemovedWhateverARecordSays) {
    writeFile(Path("/Work/Cut.fcp"), "project");
    writeFile(Path("/Work/mine.zip"), "mine");
    fake.files.addLink(temp / "link.zip", "/Work/mine.zip");
    writeFile(temp / "folder.zip/inside", "x");
    writeFile(Path("/Work/.larkspan-upload-mine/inside"), "x");
    for (const Path& path :
         {Path("/Work/Cut.fcp"), Path("/Work/mine.zip"), temp / "link.zip", temp / "folder.zip",
          temp, Path(""), Path("/Work/.larkspan-upload-mine")}) {
        leave(path, 999'999);
    }
    leave(Value::Dictionary{{"path", 7}});
    writeFile(records / "torn.plist", "torn");
    EXPECT_EQ(TransferFile::clearLeftovers(), 0);
    EXPECT_EQ(contentOf(Path("/Work/Cut.fcp")), "project");
    EXPECT_EQ(contentOf(temp / "link.zip"), "mine");
    EXPECT_EQ(contentOf(temp / "folder.zip/inside"), "x");
    EXPECT_EQ(contentOf(Path("/Work/.larkspan-upload-mine/inside")), "x");
    EXPECT_THAT(namesIn(records), IsEmpty());
}

TEST_F(TransferFileTest, WhatCannotBeRemovedNowIsTriedAgainLater) {
    writeFile(temp / ".larkspan-upload-left/a.zip", "archive");
    leave(temp / ".larkspan-upload-left", 999'999);
    fake.faults.refuseCall(platform::FileOperation::removeItem, 1, EACCES);
    EXPECT_EQ(TransferFile::clearLeftovers(), 0);
    EXPECT_EQ(TransferFile::clearLeftovers(), 1);
    EXPECT_EQ(TransferFile::clearLeftovers(), 0);
}

}  // namespace
}  // namespace larkspan
