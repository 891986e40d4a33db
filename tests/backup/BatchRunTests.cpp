#include "backup/BackupRules.h"
#include "support/StoreTest.h"

#include <cerrno>
#include <initializer_list>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::chrono_literals;

class BatchRunTest : public testing::StoreTest {
  protected:
    ZBLarkspanBackup engine;
};

TEST_F(BatchRunTest, ListsTheKnownProjects) {
    addProject("B", "b.fcp");
    addProject("A", "a.fcp");
    writeFile(folderOf("C") / "Settings.plist", "torn");
    writeFile(folderOf("D") / "Settings.plist", "<plist><dict/></plist>");
    ASSERT_FALSE(fake.files.createFolder(folderOf("E")));
    writeFile(Path("/Store/file"), "not a project");
    const Value settings = Value::Dictionary{
        {"projectPath", "~/x.fcp"}, {"sequences", Value::Array{"s"}}, {"selectedUUID", "U"}};
    ASSERT_FALSE(savePropertyList(settings, folderOf("F") / "Settings.plist"));

    const auto projects = engine.projects();
    ASSERT_EQ(projects.size(), 3U);
    EXPECT_EQ(projects[0].projectID.text, "A");
    EXPECT_EQ(projects[1].path, Path("/Work/b.fcp"));
    EXPECT_EQ(projects[2].path, Path("~/x.fcp"));
    EXPECT_EQ(projects[2].selectedUUID, "U");
    EXPECT_EQ(projects[2].sequences, Value::Array{"s"});
    EXPECT_THAT(loggedLines(), Contains(::testing::StartsWith(
                                   "Unable to read the settings of project /Store/C.localized")));
}

TEST_F(BatchRunTest, NoticesEveryChangeOfTheStoreBetweenRuns) {
    addProject("A", "a.fcp");
    fake.clock.advance(10s);
    EXPECT_EQ(engine.projects().size(), 1U);
    // Changed at the moment it was read, and once more in the same instant.
    addProject("A", "other.fcp");
    EXPECT_EQ(engine.projects()[0].path, Path("/Work/other.fcp"));
    addProject("A", "third.fcp");
    EXPECT_EQ(engine.projects()[0].path, Path("/Work/third.fcp"));
    fake.clock.advance(10s);
    EXPECT_EQ(engine.projects()[0].path, Path("/Work/third.fcp"));
    ASSERT_FALSE(fake.files.removeItem(folderOf("A")));
    EXPECT_THAT(engine.projects(), IsEmpty());
}

TEST_F(BatchRunTest, TakesVersionsOfWhatIsNewer) {
    const Path first = addProject("A", "Cut.fcp");
    save(addProject("B", "Same.fcp", 1h), "version", 1h);
    addVersion("B", "Same.00004.fcp", 1h);
    addProject("C", "Newer.fcp", 30min);
    addVersion("C", "Newer.00012.fcp", 1h);
    addVersion("C", "Newer.00012.xml", 1h);
    addProject("D", "Older.fcp", 2h);
    addVersion("D", "Older.00001.fcp", 1h);
    addProject("E", "Gone.fcp");
    ASSERT_FALSE(fake.files.removeItem(Path("/Work/Gone.fcp")));

    engine.processProjects();
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00001.fcp"));
    EXPECT_THAT(versionNames("B"), ElementsAre("Same.00004.fcp"));
    EXPECT_THAT(versionNames("C"),
                ElementsAre("Newer.00012.fcp", "Newer.00012.xml", "Newer.00013.fcp"));
    EXPECT_THAT(versionNames("D"), ElementsAre("Older.00001.fcp", "Older.00002.fcp"))
        << "dates go back, when a clock is set or a file is brought back";
    EXPECT_FALSE(fake.files.exists(versionsOf("E")));
    EXPECT_EQ(contentOf(versionsOf("A") / "Cut.00001.fcp"), contentOf(first));
    EXPECT_EQ(fake.files.info(versionsOf("A") / "Cut.00001.fcp")->modificationDate,
              fake.files.info(first)->modificationDate);

    engine.processProjects();
    EXPECT_EQ(versionNames("A").size(), 1U);
    EXPECT_EQ(versionNames("C").size(), 3U);
}

TEST_F(BatchRunTest, AFirstVersionIsNeitherCountedNorAnnounced) {
    addProject("A", "Cut.fcp");
    engine.processProjects();
    EXPECT_EQ(storeChangesAnnounced(), 0U);
    save(Path("/Work/Cut.fcp"), "again", 10s);
    engine.processProjects();
    EXPECT_EQ(storeChangesAnnounced(), 1U);
}

TEST_F(BatchRunTest, AnnouncesTwiceAndAlertsThriceForTwelveChangedProjects) {
    for (char c = 'A'; c < 'A' + 12; ++c) {
        const std::string name(1, c);
        addProject(name, name + ".fcp", 30min);
        addVersion(name, name + ".00001.fcp", 1h);
    }
    engine.processProjects();
    EXPECT_EQ(storeChangesAnnounced(), 2U);
    EXPECT_EQ(fake.userNotifications.posted().size(), 3U);

    // Right after these alerts a run keeps silent.
    for (char c = 'A'; c < 'A' + 2; ++c)
        save(Path("/Work") / (std::string(1, c) + ".fcp"), "n", 10s);
    engine.processProjects();
    EXPECT_EQ(fake.userNotifications.posted().size(), 3U);
    fake.clock.advance(2s);
    save(Path("/Work/A.fcp"), "again", 5s);
    engine.processProjects();
    EXPECT_EQ(fake.userNotifications.posted().size(), 4U);
}

TEST_F(BatchRunTest, IsLimitedByAPlainPrefix) {
    addProject("A", "A/one.fcp");
    addProject("B", "AB/two.fcp");
    addProject("C", "C/three.fcp");
    engine.processProjectsInPath(Path("/Work/A"));
    EXPECT_EQ(versionNames("A").size(), 1U);
    EXPECT_EQ(versionNames("B").size(), 1U);
    EXPECT_THAT(versionNames("C"), IsEmpty());
    EXPECT_THAT(loggedLines(), Contains("Processing projects in /Work/A..."));
}

TEST_F(BatchRunTest, ExpandsTildes) {
    const Path project = fake.places.home / "Film/Cut.fcp";
    save(project, "x");
    ASSERT_FALSE(savePropertyList(Value::Dictionary{{"projectPath", "~/Film/Cut.fcp"}},
                                  folderOf("A") / "Settings.plist"));
    engine.processProjects();
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00001.fcp"));
}

TEST_F(BatchRunTest, SkipsASecondFolderOfAnIdentifierOnlyWhenTheFirstWasBackedUp) {
    addProject("A", "Cut.fcp", 30min);
    addVersion("A", "Cut.00001.fcp", 1h);
    ASSERT_FALSE(savePropertyList(Value::Dictionary{{"projectPath", "/Work/Cut.fcp"}},
                                  Path("/Store/A.bak/Settings.plist")));
    engine.processProjects();
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00001.fcp", "Cut.00002.fcp"));
    EXPECT_THAT(loggedLines(), Contains("last version: Cut.00001.fcp").Times(1));
}

TEST_F(BatchRunTest, AMissingStoreHasNoProjects) {
    engine.processProjects();
    EXPECT_THAT(loggedLines(), ElementsAre("Processing projects...", "No projects found"));
    EXPECT_FALSE(fake.files.exists(*storelayout::cacheFolder()));
}

TEST_F(BatchRunTest, GoesOnAfterAProjectThatFails) {
    addProject("A", "Cut.fcp");
    writeFile(folderOf("A") / "Versions", "a file where the folder should be");
    addProject("B", "Next.fcp");
    engine.processProjects();
    EXPECT_THAT(versionNames("B"), ElementsAre("Next.00001.fcp"));
    EXPECT_THAT(loggedLines(),
                Contains(::testing::StartsWith("Unable to read the versions of project ")));
}

TEST_F(BatchRunTest, StaysRightBeyondFiveDigits) {
    addProject("A", "Cut.fcp", 30min);
    addVersion("A", "Cut.99999.fcp", 2h);
    addVersion("A", "Cut.100000.fcp", 1h);
    engine.processProjects();
    engine.processProjects();
    EXPECT_THAT(versionNames("A"),
                ElementsAre("Cut.100000.fcp", "Cut.100001.fcp", "Cut.99999.fcp"));
}

TEST(Newness, IsToldByDatesAndTheirSteps) {
    const Date saved = dateFromUnixTime(1'000'001, 123'456'789);
    const auto version = [](long long seconds, long nanoseconds) {
        return dateFromUnixTime(seconds, nanoseconds);
    };
    const std::pair<Date, Newness> cases[] = {
        {saved, Newness::same},
        {version(1'000'001, 123'456'788), Newness::newer},
        {version(1'000'001, 123'456'800), Newness::same},  // a step of 100 ns
        {version(1'000'001, 130'000'000), Newness::same},  // 10 ms
        {version(1'000'002, 0), Newness::same},            // 1 s, 2 s
        {version(1'000'003, 0), Newness::older},
        {version(1'000'001, 500'000'001), Newness::older},
        {Date::min(), Newness::newer},
        {Date::max(), Newness::older},
    };
    for (const auto& [date, expected] : cases) {
        EXPECT_EQ(newness(saved, date), expected) << dateDescription(date);
    }
}

TEST_F(BatchRunTest, ASaveThatChangedNothingMakesNoVersion) {
    const Path project = addProject("A", "Cut.fcp", 2h);
    const Path bundle = addProject("B", "Film.fcpproject/data", 2h);
    ASSERT_FALSE(savePropertyList(Value::Dictionary{{"projectPath", "/Work/Film.fcpproject"}},
                                  folderOf("B") / "Settings.plist"));
    engine.processProjects();
    writeFile(folderOf("A") / "Screenshots/Cut.00001.jpg", "picture");
    const size_t told = fake.userNotifications.posted().size();
    for (const Seconds age : {Seconds(3600), Seconds(60)}) {
        ASSERT_FALSE(fake.files.setModificationDate(project, ago(age)));
        ASSERT_FALSE(fake.files.setModificationDate(Path("/Work/Film.fcpproject"), ago(age)));
        engine.processProjects();
        EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00001.fcp"));
        EXPECT_THAT(versionNames("B"), ElementsAre("Film.00001.fcpproject"));
        EXPECT_EQ(fake.files.info(versionsOf("A") / "Cut.00001.fcp")->modificationDate, ago(age));
    }
    EXPECT_EQ(fake.userNotifications.posted().size(), told);
    EXPECT_EQ(storeChangesAnnounced(), 0U);
    EXPECT_THAT(namesIn(folderOf("A") / "Screenshots"), ElementsAre("Cut.00001.jpg"));

    save(project, "CONTENT OF Cut.fcp", 50s);
    writeFile(bundle, "CONTENT");
    ASSERT_FALSE(fake.files.setModificationDate(Path("/Work/Film.fcpproject"), ago(50s)));
    engine.processProjects();
    EXPECT_EQ(versionNames("A").size(), 2U) << "other bytes of the same size";
    EXPECT_EQ(versionNames("B").size(), 2U);
}

TEST_F(BatchRunTest, AnotherSizeIsAChangeWhateverTheDates) {
    const Path project = addProject("A", "Cut.fcp", 2h);
    engine.processProjects();
    save(project, "more of the same write", 2h);
    engine.processProjects();
    engine.processProjects();
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00001.fcp", "Cut.00002.fcp"));
}

TEST_F(BatchRunTest, AnUnchangedSaveDatesTheRenditionToo) {
    const Path project = addProject("A", "Cut.fcp", 1h);
    addVersion("A", "Cut.00001.fcp", 2h);
    addVersion("A", "Cut.00001.xml", 2h);
    save(project, "version", 1h);
    engine.processProjects();
    EXPECT_EQ(versionNames("A").size(), 2U);
    engine.processProjects();
    EXPECT_THAT(loggedLines(), Contains("last version: Cut.00001.xml").Times(1));
}

TEST_F(BatchRunTest, DatesAloneDecideWhereUnchangedSavesAreWanted) {
    setPreferences({{"storagePath", "/Store"}, {"skipUnchangedSaves", 0}});
    const Path project = addProject("A", "Cut.prproj", 2h);
    const Path finalCut = addProject("B", "Cut.fcp", 2h);
    addProject("C", "Older.prproj", 2h);
    addVersion("C", "Older.00001.prproj", 1h);
    engine.processProjects();
    for (const Path& touched : {project, finalCut}) {
        ASSERT_FALSE(fake.files.setModificationDate(touched, ago(60s)));
    }
    fake.clock.advance(10s);
    const size_t told = fake.userNotifications.posted().size();
    engine.processProjects();
    EXPECT_EQ(versionNames("A").size(), 2U);
    EXPECT_THAT(versionNames("B"), ElementsAre("Cut.00001.fcp")) << "a duplicate goes";
    EXPECT_EQ(versionNames("C").size(), 1U);
    ASSERT_EQ(fake.userNotifications.posted().size(), told + 1) << "not of the duplicate";
    EXPECT_EQ(fake.userNotifications.posted().back().description, "Cut.prproj");
}

TEST_F(BatchRunTest, ADuplicateTakesItsPictureAlong) {
    setPreferences({{"storagePath", "/Store"}, {"skipUnchangedSaves", 0}});
    fake.screen.show("picture");
    const Path project = addProject("A", "Cut.fcp", 2h);
    engine.processProjects();
    ASSERT_FALSE(fake.files.setModificationDate(project, ago(60s)));
    engine.processProjects();
    EXPECT_THAT(namesIn(folderOf("A") / "Screenshots"), ElementsAre("Cut.00001.jpg"));
}

TEST_F(BatchRunTest, AFileThatWasBroughtBackIsKeptUnlessItIsInTheStore) {
    const Path project = addProject("A", "Cut.fcp", 3h);
    engine.processProjects();
    save(project, "second", 2h);
    engine.processProjects();
    save(project, "content of Cut.fcp", 3h);
    engine.processProjects();
    EXPECT_EQ(versionNames("A").size(), 2U) << "version 1 has it";
    save(project, "from elsewhere", 4h);
    engine.processProjects();
    engine.processProjects();
    EXPECT_EQ(versionNames("A").size(), 3U);
    EXPECT_EQ(contentOf(versionsOf("A") / "Cut.00003.fcp"), "from elsewhere");

    save(project, "content of Cut.fcp", 5h);
    fake.clock.advance(10s);
    engine.processProjects();
    EXPECT_EQ(versionNames("A").size(), 3U);
    engine.removeBackup(versionsOf("A") / "Cut.00001.fcp", RemovalType::remove);
    engine.processProjects();
    EXPECT_EQ(contentOf(versionsOf("A") / "Cut.00004.fcp"), "content of Cut.fcp")
        << "the version that had it is gone";
}

TEST_F(BatchRunTest, WhatCannotBeReadIsLeftOutAndNotTakenForMissing) {
    const Path project = addProject("A", "Cut.fcp", 1h);
    addVersion("A", "Cut.00007.fcp", 2h);
    addProject("B", "Next.fcp");
    const Path settings = folderOf("A") / "Settings.plist";
    for (const Path& unreadable : {settings, versionsOf("A"), project}) {
        fake.faults.refusePath(unreadable, EACCES);
        engine.processProjects();
        fake.faults.refusePath(unreadable, 0);
        EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00007.fcp")) << unreadable;
    }
    EXPECT_THAT(versionNames("B"), ElementsAre("Next.00001.fcp"));
    EXPECT_THAT(loggedLines(), Contains(::testing::StartsWith("Unable to ")).Times(3));

    fake.faults.refusePath(*Preferences::frontEndFile(), EIO);
    engine.processProjects();
    fake.faults.refusePath(*Preferences::frontEndFile(), 0);
    EXPECT_EQ(versionNames("A").size(), 1U);
    engine.processProjects();
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00007.fcp", "Cut.00008.fcp"));
}

TEST_F(BatchRunTest, AnUnchangedProjectCostsFourLooks) {
    using platform::FileOperation;
    for (const char* name : {"A", "B", "C"}) {
        addProject(name, std::string(name) + ".fcp", 2h);
        for (int i = 1; i < 4; ++i) {
            addVersion(name, name + std::string(".0000") + std::to_string(i) + ".fcp", 2h);
        }
    }
    const auto costOfARun = [&](std::initializer_list<FileOperation> operations) {
        int before = 0;
        for (const auto operation : operations) before += fake.faults.callCount(operation);
        engine.processProjects();
        int after = 0;
        for (const auto operation : operations) after += fake.faults.callCount(operation);
        return after - before;
    };
    engine.processProjects();
    fake.clock.advance(10s);
    engine.processProjects();
    EXPECT_LE(costOfARun({FileOperation::info}), 3 * 4 + 4);
    EXPECT_LE(costOfARun({FileOperation::folderEntries, FileOperation::openFolder,
                          FileOperation::contentsOfFolder}),
              2)
        << "the store alone";
}

}  // namespace
}  // namespace larkspan
