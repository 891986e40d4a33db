#include "support/FakePlatformTest.h"
#include "sync/CloudMirror.h"
#include "sync/TransferQueue.h"

#include <condition_variable>
#include <thread>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST(RemovalLists, AreAsFewAsFitAndKeepCommas) {
    const std::vector<Path> paths{Path("/a"), Path("/b,c"), Path("/d"), Path("/a long one")};
    EXPECT_THAT(removalLists(paths, 100), ElementsAre("/a,/b,c,/d,/a long one"));
    EXPECT_THAT(removalLists(paths, 7), ElementsAre("/a,/b,c", "/d", "/a long one"));
    EXPECT_THAT(removalLists({}, 7), IsEmpty());
}

class TransfersTest : public testing::FakePlatformTest {
  protected:
    TransfersTest() {
        setPreferences({{"syncService", 1}});
        ZBLog::createNewLog();
        for (const char* name : {"Larkspan", "MacOS/Larkspan"}) {
            const Path program = Path("/Applications/Larkspan.app/Contents") / name;
            writeFile(program, "");
            EXPECT_FALSE(fake.files.setPermissions(program, 0755));
            fake.processes.setProgram(program, {.runsUntilTerminated = true});
        }
    }
    static Path version(const std::string& project, int number) {
        return Path("/Store") / (project + ".localized/Versions") /
               ("Cut." + std::to_string(number) + ".fcp");
    }
    void end(size_t launch) const { fake.processes.launched().at(launch)->terminate(); }
    // Waits until that many have been launched.
    std::vector<std::string> launched(size_t count) const {
        while (fake.processes.launches().size() < count) std::this_thread::yield();
        std::vector<std::string> lines;
        for (const auto& launch : fake.processes.launches()) {
            std::string line = launch.launchPath.str();
            for (const auto& argument : launch.arguments) line += " " + argument;
            lines.push_back(line);
        }
        return lines;
    }
};

TEST_F(TransfersTest, TheHelperStartsTheFrontEndForEachTransfer) {
    CloudMirror mirror;
    mirror.uploadFileToCloud(version("A", 1));
    mirror.removeSyncedFiles({version("A", 1), version("A", 2)});
    mirror.removeSyncedProjects({Path("/Store/A.localized")});
    EXPECT_THAT(
        launched(3),
        ElementsAre("/Applications/Larkspan.app/Contents/Larkspan -upload " + version("A", 1).str(),
                    "/Applications/Larkspan.app/Contents/MacOS/Larkspan -removeRemote " +
                        version("A", 1).str() + "," + version("A", 2).str(),
                    "/Applications/Larkspan.app/Contents/MacOS/Larkspan -removeRemote "
                    "/Store/A.localized"));
    for (const auto& launch : fake.processes.launches()) {
        EXPECT_EQ(launch.group, platform::ProcessGroup::own);
    }
    EXPECT_EQ(DBSession::sharedSession(), nullptr);
}

TEST_F(TransfersTest, FourRunSideBySideAndTheRestWaitsInOrder) {
    CloudMirror mirror;
    for (int i = 0; i < 7; ++i) mirror.uploadFileToCloud(version("A", i));
    EXPECT_THAT(launched(4), SizeIs(4));
    end(2);
    EXPECT_EQ(launched(5)[4], launched(4)[0].substr(0, launched(4)[0].find("Cut.")) + "Cut.4.fcp");
    end(0);
    end(1);
    EXPECT_THAT(launched(7)[6], ::testing::EndsWith("Cut.6.fcp"));
    EXPECT_THAT(launched(7), SizeIs(7));
}

TEST_F(TransfersTest, OneVersionIsNotUploadedTwiceAtOnce) {
    CloudMirror mirror;
    mirror.uploadFileToCloud(version("A", 1));
    mirror.uploadFileToCloud(version("B", 1));
    EXPECT_THAT(launched(2), SizeIs(2)) << "each packs into a folder of its own";
    mirror.uploadFileToCloud(version("A", 1));
    EXPECT_THAT(launched(2), SizeIs(2));
    end(0);
    EXPECT_THAT(launched(3)[2], ::testing::HasSubstr("A.localized"));
}

TEST_F(TransfersTest, AProgramThatCannotBeStartedHoldsNothingUp) {
    const Path program("/Applications/Larkspan.app/Contents/Larkspan");
    fake.processes.setProgram(program, {.launchError = posixError(EAGAIN, "fork")});
    CloudMirror mirror;
    for (int i = 0; i < 9; ++i) mirror.uploadFileToCloud(version("A", i));
    EXPECT_THAT(fake.processes.launches(), IsEmpty());
    EXPECT_THAT(loggedLines(), SizeIs(9));
    ASSERT_FALSE(fake.files.removeItem(program));
    mirror.uploadFileToCloud(version("A", 1));
    EXPECT_EQ(loggedLines().back(), "Error: " + program.str() + " is not executable");
}

TEST_F(TransfersTest, TheHelpersEndLeavesRunningTransfersAlone) {
    {
        CloudMirror mirror;
        for (int i = 0; i < 6; ++i) mirror.uploadFileToCloud(version("A", i));
    }
    for (const auto& process : fake.processes.launched()) EXPECT_TRUE(process->isRunning());
    EXPECT_THAT(fake.processes.launched(), SizeIs(4));
    EXPECT_EQ(loggedLines().back(), "Transfers that were not started: 2");
    for (size_t i = 0; i < 4; ++i) end(i);
}

TEST_F(TransfersTest, CallsBackOnceNothingWaits) {
    CloudMirror mirror;
    std::mutex mutex;
    std::condition_variable changed;
    int called = 0;
    const auto call = [&] {
        const std::lock_guard lock(mutex);
        ++called;
        changed.notify_all();
    };
    mirror.whenTransfersAreStarted(call);
    EXPECT_EQ(called, 1);
    for (int i = 0; i < 5; ++i) mirror.uploadFileToCloud(version("A", i));
    mirror.whenTransfersAreStarted(call);
    std::unique_lock lock(mutex);
    EXPECT_EQ(called, 1);
    end(0);
    changed.wait(lock, [&] { return called == 2; });
}

}  // namespace
}  // namespace larkspan
