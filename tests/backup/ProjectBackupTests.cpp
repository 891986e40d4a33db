#include "kit/Problems.h"
#include "kit/ZBLocalPaths.h"
#include "support/StoreTest.h"
#include "sync/DBSession.h"

#include <cerrno>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;
using namespace std::chrono_literals;

class ProjectBackupTest : public testing::StoreTest {
  protected:
    std::vector<std::string> notices() const {
        std::vector<std::string> texts;
        for (const auto& notice : fake.userNotifications.posted()) {
            texts.push_back(notice.title + ": " + notice.description + " (" +
                            notice.notificationName + ")");
        }
        return texts;
    }
    const Path versions = versionsOf("A");
    ZBLarkspanBackup engine;
};

TEST_F(ProjectBackupTest, TellsOfItsSuccessUnlessItIsPartOfABatch) {
    const Path project = addProject("A", "Film/CurrentVersion.fcpproject");
    engine.backupProject(project, versions, {1});
    EXPECT_THAT(notices(), ElementsAre("Project backed up: Film (Backup successful)"));
    engine.backupProject(project, versions, {2}, {.partOfBatch = true});
    setPreferences({{"showGrowlAlerts", 0}});
    engine.backupProject(project, versions, {3});
    EXPECT_EQ(notices().size(), 1U);
    EXPECT_THAT(namesIn(versions),
                ElementsAre("CurrentVersion.00001.fcpproject", "CurrentVersion.00002.fcpproject",
                            "CurrentVersion.00003.fcpproject"));
}

TEST_F(ProjectBackupTest, NeverOverwritesAName) {
    const Path project = addProject("A", "Cut.fcp");
    addVersion("A", "Cut.00004.fcp", 1h);
    addVersion("A", "Cut.00005.fcp", 1h);
    EXPECT_EQ(engine.backupProjectFile(project, versions, {4}), std::nullopt);
    EXPECT_EQ(contentOf(versions / "Cut.00004.fcp"), "version");
    EXPECT_EQ(contentOf(versions / "Cut.00006.fcp"), contentOf(project));
}

TEST_F(ProjectBackupTest, SkipsEmptyFilesSilently) {
    const Path project = addProject("A", "Cut.fcp");
    save(project, "");
    const auto error = engine.backupProjectFile(project, versions, {1});
    ASSERT_TRUE(error);
    EXPECT_TRUE(isSilentSkip(*error));
    engine.backupProject(project, versions, {1});
    EXPECT_THAT(namesIn(versions), IsEmpty());
    EXPECT_THAT(notices(), IsEmpty());
    EXPECT_THAT(loggedLines(), Not(Contains(StartsWith("Unable to"))));
}

TEST_F(ProjectBackupTest, KeepsTheLeastInterval) {
    struct Case {
        Value::Dictionary preferences;
        bool force;
        bool taken;
    };
    const Case cases[] = {
        {{{"backupMinIntervalEnabled", 1}, {"backupMinInterval", 15}}, false, false},
        {{{"backupMinIntervalEnabled", 1}}, false, false},
        {{{"backupMinIntervalEnabled", 1}, {"backupMinInterval", 15}}, true, true},
        {{{"backupMinIntervalEnabled", 1}, {"backupMinInterval", 10}}, false, true},
        {{{"backupMinInterval", 15}}, false, true},
        {{{"backupMinIntervalEnabled", 2}, {"backupMinInterval", 15}}, false, true},
    };
    const Path project = addProject("A", "Cut.fcp", 1min);
    for (const Case& c : cases) {
        (void)fake.files.removeItem(versions);
        // The rendition is younger than its copy, whose age counts.
        addVersion("A", "Cut.00001.fcp", 12min);
        addVersion("A", "Cut.00001.xml", 1min);
        setPreferences(c.preferences);
        engine.backupProject(project, versions, {2}, {.force = c.force});
        EXPECT_EQ(fake.files.exists(versions / "Cut.00002.fcp"), c.taken)
            << describe(Value(c.preferences));
    }
    EXPECT_THAT(loggedLines(),
                Contains("Backup skipped for /Work/Cut.fcp because a backup occurred less than 15 "
                         "minute(s) ago.")
                    .Times(2));
}

TEST_F(ProjectBackupTest, SaysWhatFailedAndRemembersIt) {
    engine.backupProject(Path("/Work/missing.fcp"), versions, {1});
    EXPECT_THAT(loggedLines(), Contains("Unable to backup - /Work/missing.fcp doesn't exist"));

    const Path project = addProject("A", "Cut.fcp");
    fake.faults.refuseCall(platform::FileOperation::copyItem, 1, ENOSPC);
    engine.backupProject(project, versions, {1});
    EXPECT_THAT(notices(), ElementsAre("Project backup failed: Cut.fcp (Backup failed)"));
    EXPECT_THAT(loggedLines(), Contains(StartsWith("Unable to copy project file Cut.fcp: ")));
    EXPECT_THAT(lastProblem()->text, StartsWith("Unable to copy project file Cut.fcp: "));
    EXPECT_THAT(namesIn(versions), IsEmpty());
}

TEST_F(ProjectBackupTest, GoesOnWithoutItsDriveInTheHelperOnly) {
    const Path project = addProject("A", "Cut.fcp");
    const Path offline("/Volumes/Gone/A/Versions");
    engine.backupProject(project, offline, {1});
    EXPECT_THAT(loggedLines(), Contains("Unable to backup - destination drive not mounted."));
    EXPECT_THAT(notices(), Contains("Project backup failed: Drive is offline. (Backup failed)"));
    EXPECT_THAT(namesIn(offline), ElementsAre("Cut.00001.fcp"));

    (void)fake.files.removeItem(Path("/Volumes/Gone"));
    fake.bundles.main.info = Value::Dictionary{{"CFBundleIdentifier", "com.corvane.Larkspan"}};
    fake.alerts.answersAtOnce = platform::AlertAnswer{};
    engine.backupProject(project, offline, {1});
    EXPECT_FALSE(fake.files.exists(offline));
    ASSERT_EQ(fake.alerts.shown.size(), 1U);
    EXPECT_EQ(fake.alerts.shown[0].request.messageText, "Unable to backup");
    EXPECT_EQ(fake.alerts.shown[0].request.informativeText,
              "The destination drive is not mounted. Please mount the drive or change the backup "
              "path in Preferences.");
}

TEST_F(ProjectBackupTest, CountsTheGapToTheLastRendition) {
    const Path project("/Work/Cut.fcp");
    const auto gap = [&](long number) {
        return ZBLarkspanBackup::backupGapForProject(project, versions, {number});
    };
    EXPECT_EQ(gap(0), 0U);
    EXPECT_EQ(gap(1), 0U);
    EXPECT_EQ(gap(3), 2U);
    addVersion("A", "Cut.00002.xml", 1h);
    EXPECT_EQ(gap(3), 0U);
    EXPECT_EQ(gap(5), 2U);
}

TEST_F(ProjectBackupTest, OpensTheCloudSessionOnlyWhenItIsWanted) {
    DBSession::setSharedSession(nullptr);
    setPreferences({{"syncService", 0}});
    { const ZBLarkspanBackup quiet; }
    EXPECT_EQ(DBSession::sharedSession(), nullptr);
    setPreferences({{"syncService", 1}});
    { const ZBLarkspanBackup syncing; }
    ASSERT_NE(DBSession::sharedSession(), nullptr);
    EXPECT_EQ(DBSession::sharedSession()->appKey, "q7m2vka9x4tzp1e");
    DBSession::setSharedSession(nullptr);
}

TEST_F(ProjectBackupTest, FindsTheFrontEndsBundle) {
    EXPECT_EQ(ZBLarkspanBackup::currentBundlePath(), Path("/Applications/Larkspan.app"));
    fake.bundles.around.clear();
    EXPECT_EQ(ZBLarkspanBackup::currentBundlePath(), std::nullopt);
    const Path applications = *ZBLocalPaths::applicationDirectory(UserDomain::no);
    ASSERT_FALSE(fake.files.createFolder(applications / "Corvane/Larkspan.app"));
    EXPECT_EQ(ZBLarkspanBackup::currentBundlePath(), applications / "Corvane/Larkspan.app");
}

}  // namespace
}  // namespace larkspan
