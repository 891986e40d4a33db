#include "app/ZBProject.h"
#include "foundation/Uuid.h"
#include "support/StoreTest.h"

#include <cerrno>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

class ZBProjectTest : public testing::StoreTest {
  protected:
    std::string stringsOf(const ZBProject& project) {
        return contentOf(*project.destinationPath() / ".localized/en.strings");
    }
};

TEST_F(ZBProjectTest, MakesTheProjectPartOfTheStore) {
    const Value::Array sequences{"one"};
    const ZBProject project =
        ZBProject::projectWithPath(Path("~/Work/Cut.FCP"), sequences, ProjectID{"ID"});
    EXPECT_EQ(project.type, ProjectType::finalCut7);
    EXPECT_EQ(project.friendlyName, "Cut");
    EXPECT_EQ(project.selectedUUID, std::nullopt);
    EXPECT_EQ(project.destinationPath(), folderOf("ID"));
    EXPECT_EQ(stringsOf(project), "\"ID\" = \"Cut\";");
    const auto settings = loadPropertyList(folderOf("ID") / "Settings.plist");
    ASSERT_TRUE(settings);
    EXPECT_EQ(*settings,
              Value(Value::Dictionary{{"projectPath", (fake.places.home / "Work/Cut.FCP").str()},
                                      {"sequences", sequences}}));
}

TEST_F(ZBProjectTest, TellsKindsAndNames) {
    struct Case {
        const char* path;
        ProjectType type;
        const char* name;
    };
    const Case cases[] = {
        {"/Work/Film/CurrentVersion.fcpproject", ProjectType::other, "Film"},
        {"/Work/Film/CurrentVersion.fcpevent", ProjectType::other, "Film"},
        {"/Work/Cut.prproj", ProjectType::other, "Cut"},
        {"/Work/Edit 1.2.fcp", ProjectType::finalCut7, "Edit 1.2"},
    };
    for (const Case& c : cases) {
        const ZBProject project = ZBProject::projectWithPath(Path(c.path), Value::Array{"s"});
        EXPECT_EQ(project.type, c.type) << c.path;
        EXPECT_EQ(project.friendlyName, c.name) << c.path;
        EXPECT_EQ(project.sequences.has_value(), c.type == ProjectType::finalCut7) << c.path;
        EXPECT_TRUE(isUUID(project.projectID.text)) << project.projectID.text;
    }
    EXPECT_EQ(namesIn(Path("/Store")).size(), std::size(cases));
}

TEST_F(ZBProjectTest, AFileWithTheTypeCodeIsAFinalCutProject) {
    writeFile(Path("/Work/untitled"), "x");
    fake.files.setAttribute(Path("/Work/untitled"), "user.com.apple.FinderInfo",
                            "FCPF" + std::string(28, '\0'));
    EXPECT_EQ(ZBProject::projectWithPath(Path("/Work/untitled")).type, ProjectType::finalCut7);
}

TEST_F(ZBProjectTest, KeepsWhatIsThere) {
    writeFile(folderOf("ID") / ".localized/en.strings", "mine");
    writeFile(folderOf("ID") / "Settings.plist", "mine too");
    const ZBProject project =
        ZBProject::projectWithPath(Path("/Work/Cut.fcp"), std::nullopt, ProjectID{"ID"});
    EXPECT_EQ(stringsOf(project), "mine");
    EXPECT_EQ(contentOf(folderOf("ID") / "Settings.plist"), "mine too");
    project.saveSettings();
    EXPECT_TRUE(loadPropertyList(folderOf("ID") / "Settings.plist"));
}

TEST_F(ZBProjectTest, TheHelpersOwnDefaultsNameTheStoreFirst) {
    ASSERT_FALSE(Preferences::setObject(*Preferences::ownDefaultsFile(), "storagePath", "/Own"));
    ZBProject project;
    project.projectID = {"ID"};
    EXPECT_EQ(project.destinationPath(), Path("/Own/ID.localized"));
    ASSERT_FALSE(Preferences::removeObject(*Preferences::ownDefaultsFile(), "storagePath"));
    EXPECT_EQ(project.destinationPath(), folderOf("ID"));
    setPreferences({});
    EXPECT_TRUE(project.destinationPath()->str().ends_with(
        "/Application Support/Corvane/Larkspan/Projects/ID.localized"));
}

TEST_F(ZBProjectTest, TriesAgainAfterAFailure) {
    fake.faults.refusePath(Path("/Store"), ENOSPC);
    (void)ZBProject::projectWithPath(Path("/Work/Cut.fcp"), std::nullopt, ProjectID{"ID"});
    EXPECT_FALSE(fake.files.exists(folderOf("ID") / "Settings.plist"));
    fake.faults.refusePath(Path("/Store"), 0);
    (void)ZBProject::projectWithPath(Path("/Work/Cut.fcp"), std::nullopt, ProjectID{"ID"});
    EXPECT_TRUE(fake.files.exists(folderOf("ID") / "Settings.plist"));
}

TEST_F(ZBProjectTest, AFolderWithoutSettingsGoes) {
    fake.faults.refusePath(folderOf("ID") / "Settings.plist", ENOSPC);
    (void)ZBProject::projectWithPath(Path("/Work/Cut.fcp"), std::nullopt, ProjectID{"ID"});
    EXPECT_TRUE(fake.files.exists(Path("/Store")));
    EXPECT_FALSE(fake.files.exists(folderOf("ID")));
}

TEST_F(ZBProjectTest, ComparesByName) {
    ZBProject a;
    a.friendlyName = "alpha";
    ZBProject b;
    b.projectPath = Path("/W/Beta.fcp");
    EXPECT_EQ(a.nameCompare(b), ComparisonResult::ascending);
    EXPECT_EQ(b.nameCompare(a), ComparisonResult::descending);
    b.friendlyName = "ALPHA";
    EXPECT_EQ(a.nameCompare(b), ComparisonResult::same);
}

TEST_F(ZBProjectTest, AFolderThatCannotBeWrittenToGetsItsOwnersRightsOnly) {
    const ProjectID identifier{"A"};
    ASSERT_FALSE(fake.files.createFolder(folderOf("A") / ".localized"));
    ASSERT_FALSE(fake.files.setPermissions(folderOf("A"), 0550));
    (void)ZBProject::projectWithPath(Path("/Work/Cut.fcp"), std::nullopt, identifier);
    EXPECT_EQ(fake.files.info(folderOf("A"))->permissions, 0750U);
}

}  // namespace
}  // namespace larkspan
