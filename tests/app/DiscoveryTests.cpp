#include "app/ProjectDiscovery.h"
#include "app/WatchConfiguration.h"
#include "support/StoreTest.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class DiscoveryTest : public testing::StoreTest {
  protected:
    void file(const std::string& path) { writeFile(Path(path), "x"); }
    void folder(const std::string& path) { ASSERT_FALSE(fake.files.createFolder(Path(path))); }

    std::vector<std::string> registered() {
        std::vector<std::string> paths;
        ZBLarkspanBackup engine;
        for (const auto& project : engine.projects()) paths.push_back(project.path.str());
        return paths;
    }
    void watch(const Value::Array& folders, Value::Dictionary more = {}) {
        more["storagePath"] = "/Store";
        more["watchFolders"] = folders;
        setPreferences(more);
    }
    static Value entry(const char* folder, const char* extensions) {
        return Value::Dictionary{{"folder", folder}, {"extensions", extensions}};
    }

    void discover(const std::optional<Path>& path = std::nullopt) {
        ProjectDiscovery::Known known;
        for (const std::string& project : registered()) known.insert(Path(project));
        (void)ProjectDiscovery::populateProjectsFromWatchFolders(known, path);
    }
};

TEST_F(DiscoveryTest, RegistersAndAnnouncesNewProjects) {
    file("/W/Film/CurrentVersion.fcpproject/data");
    file("/W/Cut.prproj");
    watch({entry("/W", "fcpproject,prproj")});
    discover();
    EXPECT_THAT(registered(),
                UnorderedElementsAre("/W/Film/CurrentVersion.fcpproject", "/W/Cut.prproj"));
    const auto notices = fake.userNotifications.posted();
    ASSERT_EQ(notices.size(), 2U);
    EXPECT_EQ(notices[0].title, "Found new project");
    EXPECT_EQ(notices[0].description, "Cut.prproj");
    EXPECT_EQ(notices[0].notificationName, "Backup successful");
    EXPECT_EQ(notices[1].description, "Film");
    // One for each folder in which something was found.
    EXPECT_EQ(storeChangesAnnounced(), 2U);

    discover();
    EXPECT_EQ(registered().size(), 2U);
    EXPECT_EQ(storeChangesAnnounced(), 2U);
}

TEST_F(DiscoveryTest, CanBeSilent) {
    file("/W/a.fcp");
    watch({entry("/W", "fcp")}, {{"showGrowlAlerts", 0}});
    discover();
    EXPECT_EQ(registered().size(), 1U);
    EXPECT_THAT(fake.userNotifications.posted(), IsEmpty());
    EXPECT_EQ(storeChangesAnnounced(), 1U);
}

TEST_F(DiscoveryTest, OverlappingWatchFoldersRegisterAProjectOnce) {
    for (int i = 0; i < 20; ++i) file("/W/in/" + std::to_string(i) + ".fcp");
    watch({entry("/W", "fcp"), entry("/W/in", "fcp"), entry("/W/in", "fcp"), entry("/W", "fcp")});
    discover();
    EXPECT_EQ(registered().size(), 20U);
}

TEST_F(DiscoveryTest, LooksOnDrives) {
    file("/Volumes/Disk/Projects/a.fcp");
    file("/Other/Projects/b.fcp");
    fake.volumes.mount(Path("/Other"));
    fake.volumes.mount(Path("/Volumes/Disk"));
    watch({}, {{"watchDriveFolders", Value::Array{entry("Projects", "fcp"), entry("", "fcp")}}});
    discover(Path("/Volumes/Disk"));
    EXPECT_THAT(registered(), IsEmpty());
    discover();
    EXPECT_THAT(registered(), ElementsAre("/Volumes/Disk/Projects/a.fcp"));
    EXPECT_THAT(loggedLines(),
                Contains("Populating projects from folders: ({extensions = \"fcp\"; folder = "
                         "\"/Volumes/Disk/Projects\"})"));
}

TEST_F(DiscoveryTest, LooksOnlyIntoTheFoldersThatChanged) {
    file("/W/a/one.fcp");
    file("/W/a/in/two.fcp");
    file("/W/b/three.fcp");
    file("/Volumes/Disk/Projects/four.fcp");
    fake.volumes.mount(Path("/Volumes/Disk"));
    watch({entry("/W", "fcp")}, {{"watchDriveFolders", Value::Array{entry("Projects", "fcp")}}});
    std::vector<ChangedFolder> changed = {{Path("/W/a")}, {Path("/Volumes/Disk/Projects")}};
    EXPECT_THAT(ProjectDiscovery::populateProjectsFromChangedFolders({}, changed),
                ElementsAre(Path("/W/a/one.fcp"), Path("/Volumes/Disk/Projects/four.fcp")));
    EXPECT_THAT(registered(),
                UnorderedElementsAre("/W/a/one.fcp", "/Volumes/Disk/Projects/four.fcp"));
    EXPECT_EQ(storeChangesAnnounced(), 2U);
    EXPECT_THAT(loggedLines(), Contains("Populating projects from folders: "
                                        "(\"/W/a\", \"/Volumes/Disk/Projects\")"));

    changed = {{Path("/W/a"), true}};
    const ProjectDiscovery::Known known = {Path("/W/a/one.fcp")};
    EXPECT_THAT(ProjectDiscovery::populateProjectsFromChangedFolders(known, changed),
                ElementsAre(Path("/W/a/in/two.fcp")));
    EXPECT_THAT(ProjectDiscovery::populateProjectsFromChangedFolders({}, {{Path("/Else")}}),
                IsEmpty());
}

TEST_F(DiscoveryTest, NamesAFewOfManyChangedFolders) {
    watch({entry("/W", "fcp")});
    std::vector<ChangedFolder> changed;
    for (int i = 0; i < 2000; ++i) changed.push_back({Path("/W") / std::to_string(i)});
    (void)ProjectDiscovery::populateProjectsFromChangedFolders({}, changed);
    EXPECT_THAT(loggedLines(), Contains(::testing::EndsWith("\"/W/7\", \"and 1992 more\")")));
}

}  // namespace
}  // namespace larkspan
