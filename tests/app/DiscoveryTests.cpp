#include "app/FolderScan.h"
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

    std::vector<std::string> found(const char* extensions, const char* root = "/W",
                                   const std::unordered_set<Path>& known = {}) {
        std::vector<std::string> paths;
        const TypeList types(typeList(extensions));
        FolderScan scan(
            types, known, [&](const Path& path) { paths.push_back(path.str()); },
            [](const Path&) {});
        scan.scan(Path(root));
        return paths;
    }
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

TEST_F(DiscoveryTest, MatchesExtensionsInAnyCase) {
    for (const char* name : {"/W/a.fcp", "/W/b.PRPROJ", "/W/c.txt", "/W/fcp", "/W/.fcp", "/W/d."}) {
        file(name);
    }
    EXPECT_THAT(found(" FCP , prproj\n"), ElementsAre("/W/a.fcp", "/W/b.PRPROJ"));
    EXPECT_THAT(found("fcp", "/W", {Path("/W/a.fcp")}), IsEmpty());
    EXPECT_THAT(found(""), IsEmpty());
    EXPECT_THAT(found("fcp", "/missing"), IsEmpty());
}

TEST_F(DiscoveryTest, WalksInListingOrder) {
    for (const char* name : {"/W/b/2.fcp", "/W/B/1.fcp", "/W/a.fcp", "/W/C.fcp", "/W/b.fcp"}) {
        file(name);
    }
    EXPECT_THAT(found("fcp"),
                ElementsAre("/W/a.fcp", "/W/B/1.fcp", "/W/b/2.fcp", "/W/b.fcp", "/W/C.fcp"));
}

TEST_F(DiscoveryTest, LeavesFoldersOfCopiesAlone) {
    for (const char* name :
         {"/W/.hidden/a.fcp", "/W/Final Cut Backups/a.fcp", "/W/Final Cut Backups.localized/a.fcp",
          "/W/Updated Projects/a.fcp", "/W/Final Cut Projects - Hidden/a.fcp",
          "/W/Final Cut Events - Hidden/a.fcp", "/W/Backups/a.fcp", "/W/Old Versions/a.fcp"}) {
        file(name);
    }
    EXPECT_THAT(found("fcp"), ElementsAre("/W/Backups/a.fcp", "/W/Old Versions/a.fcp"));
    EXPECT_THAT(found("fcp,fcpevent"), IsEmpty());
    EXPECT_THAT(found("fcp", "/W/.hidden"), IsEmpty());
    EXPECT_THAT(found("fcp", "/W/Updated Projects"), IsEmpty());
}

TEST_F(DiscoveryTest, TellsPackagesFromFolders) {
    file("/W/Film/CurrentVersion.fcpproject/data");
    file("/W/Backups/CurrentVersion.fcpproject/data");
    file("/W/Library.fcpbundle/inner.fcp");
    file("/W/Tool.app/inside.fcp");
    file("/W/plain.folder/inside.fcp");
    EXPECT_THAT(found("fcpproject,app,fcpbundle,fcp"),
                ElementsAre("/W/Film/CurrentVersion.fcpproject", "/W/Library.fcpbundle/inner.fcp",
                            "/W/plain.folder/inside.fcp"));
}

TEST_F(DiscoveryTest, LeavesPremieresOwnCopiesAlone) {
    file("/W/Cut~0A1B2C3D-1111-2222-3333-4444.prproj");
    file("/W/Cut~0A1B2C3D-1111-2222-3333-444455556666.prproj");
    file("/W/Cut.prproj");
    file("/W/Adobe Premiere Pro Auto-Save/Cut.prproj");
    EXPECT_THAT(found("prproj"),
                ElementsAre("/W/Cut.prproj", "/W/Cut~0A1B2C3D-1111-2222-3333-444455556666.prproj"));
    // The rules come with the type.
    EXPECT_THAT(found("fcp"), IsEmpty());
}

TEST_F(DiscoveryTest, FollowsEachLinkOnce) {
    file("/W/a/one.fcp");
    fake.files.addLink(Path("/W/a/up"), "/W");
    fake.files.addLink(Path("/W/a/self"), "/W/a");
    fake.files.addLink(Path("/W/dangling.fcp"), "/nowhere");
    fake.files.addLink(Path("/W/zlink.fcp"), "/Elsewhere/real.fcp");
    file("/Elsewhere/real.fcp");
    fake.files.addPipe(Path("/W/pipe.fcp"));
    const auto paths = found("fcp");
    EXPECT_THAT(paths, Contains("/W/a/one.fcp"));
    EXPECT_THAT(paths, Contains("/W/zlink.fcp"));
    EXPECT_LE(paths.size(), 8U);
    for (const std::string& path : paths) {
        EXPECT_EQ(path.find("dangling"), std::string::npos);
        EXPECT_EQ(path.find("pipe"), std::string::npos);
    }
}

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

}  // namespace
}  // namespace larkspan
