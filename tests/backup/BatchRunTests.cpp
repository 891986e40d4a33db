#include "support/StoreTest.h"

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
    addProject("B", "Same.fcp", 1h);
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

}  // namespace
}  // namespace larkspan
