#include "discovery/FolderScan.h"
#include "support/FakePlatformTest.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FolderScanTest : public testing::FakePlatformTest {
  protected:
    void file(const std::string& path, const char* content = "x") {
        fake.files.addFile(Path(path), content);
    }
    void link(const char* path, const char* target) { fake.files.addLink(Path(path), target); }

    static std::vector<std::string> found(const std::vector<ScannedFolder>& folders,
                                          const KnownProjects& known = {}) {
        std::vector<std::string> paths;
        for (const Path& path : scanForProjects(folders, known).projects) {
            paths.push_back(path.str());
        }
        return paths;
    }
    static std::vector<std::string> found(const char* extensions, const char* root = "/W",
                                          const KnownProjects& known = {}) {
        return found({{Path(root), typeList(extensions)}}, known);
    }
};

TEST_F(FolderScanTest, MatchesExtensionsInAnyCase) {
    for (const char* name : {"/W/a.fcp", "/W/b.PRPROJ", "/W/c.txt", "/W/fcp", "/W/.fcp", "/W/d."}) {
        file(name);
    }
    EXPECT_THAT(found(" FCP , prproj\n"), ElementsAre("/W/a.fcp", "/W/b.PRPROJ"));
    EXPECT_THAT(found("fcp", "/W", {Path("/W/a.fcp")}), IsEmpty());
    EXPECT_THAT(found(""), IsEmpty());
    EXPECT_THAT(found("fcp", "/missing"), IsEmpty());
}

TEST_F(FolderScanTest, WalksInListingOrder) {
    for (const char* name : {"/W/b/2.fcp", "/W/B/1.fcp", "/W/a.fcp", "/W/C.fcp", "/W/b.fcp"}) {
        file(name);
    }
    EXPECT_THAT(found("fcp"),
                ElementsAre("/W/a.fcp", "/W/B/1.fcp", "/W/b/2.fcp", "/W/b.fcp", "/W/C.fcp"));
}

TEST_F(FolderScanTest, LeavesFoldersOfCopiesAlone) {
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

TEST_F(FolderScanTest, TellsPackagesFromFolders) {
    file("/W/Film/CurrentVersion.fcpproject/data");
    file("/W/Backups/CurrentVersion.fcpproject/data");
    file("/W/Library.fcpbundle/inner.fcp");
    file("/W/Tool.app/inside.fcp");
    file("/W/plain.folder/inside.fcp");
    EXPECT_THAT(found("fcpproject,app,fcpbundle,fcp"),
                ElementsAre("/W/Film/CurrentVersion.fcpproject", "/W/Library.fcpbundle/inner.fcp",
                            "/W/plain.folder/inside.fcp"));
}

TEST_F(FolderScanTest, LeavesPremieresOwnCopiesAlone) {
    file("/W/Cut~0A1B2C3D-1111-2222-3333-4444.prproj");
    file("/W/Cut~0A1B2C3D-1111-2222-3333-444455556666.prproj");
    file("/W/Cut.prproj");
    file("/W/Adobe Premiere Pro Auto-Save/Cut.prproj");
    EXPECT_THAT(found("prproj"),
                ElementsAre("/W/Cut.prproj", "/W/Cut~0A1B2C3D-1111-2222-3333-444455556666.prproj"));
    // The rules come with the type.
    EXPECT_THAT(found("fcp"), IsEmpty());
}

TEST_F(FolderScanTest, FindsEveryProjectByOneName) {
    file("/W/a/one.fcp");
    link("/W/a/up", "/W");
    link("/W/0self", "/W/a");
    link("/W/0other.fcp", "/W/a/one.fcp");
    link("/W/0bundle.fcpproject", "/W/b/Film.fcpproject");
    file("/W/b/Film.fcpproject/data");
    link("/W/elsewhere", "/X");
    file("/X/two.fcp");
    link("/X/back", "/W/a");
    link("/W/known.fcp", "/K/three.fcp");
    file("/K/three.fcp");
    link("/W/dangling.fcp", "/nowhere");
    fake.files.addPipe(Path("/W/pipe.fcp"));
    EXPECT_THAT(found("fcp,fcpproject", "/W", {Path("/K/three.fcp")}),
                ElementsAre("/W/a/one.fcp", "/W/b/Film.fcpproject", "/W/elsewhere/two.fcp"));
}

TEST_F(FolderScanTest, OneFolderByTwoNamesGivesTheFirst) {
    file("/Real/sub/Cut.fcp");
    link("/Alias", "/Real");
    link("/Known", "/Real");
    const auto entry = [](const char* folder, const char* types = "fcp") {
        return ScannedFolder{Path(folder), typeList(types)};
    };
    EXPECT_THAT(found({entry("/Alias"), entry("/Real")}), ElementsAre("/Alias/sub/Cut.fcp"));
    EXPECT_THAT(found({entry("/Real"), entry("/Alias", "fcp,xml")}),
                ElementsAre("/Real/sub/Cut.fcp"));
    EXPECT_THAT(found({entry("/Real/sub"), entry("/Alias/sub")}), ElementsAre("/Real/sub/Cut.fcp"));
    EXPECT_THAT(found({entry("/Real")}, {Path("/Known/sub/Cut.fcp")}), IsEmpty());
    EXPECT_THAT(found({entry("/Real", "xml"), entry("/Real/sub")}),
                ElementsAre("/Real/sub/Cut.fcp"));
}

TEST_F(FolderScanTest, FollowsNoLinkIntoWhatIsWatchedWithoutIt) {
    file("/W/a/in.fcp");
    file("/W/a/.hidden/deep/hidden.fcp");
    file("/W/shut/deep/shut.fcp");
    file("/V/other.fcp");
    link("/Watched", "/W");
    for (const auto& [name, target] : {std::pair{"1", "/W/a"},
                                       {"2", "/Watched/a"},
                                       {"3", "/W/a/.hidden/deep"},
                                       {"4", "/W/shut/deep"},
                                       {"5", "/V"},
                                       {"6", "/W/missing"}}) {
        link((std::string("/W/new/") + name).c_str(), target);
    }
    // Lists nothing, but lets through.
    ASSERT_FALSE(fake.files.setPermissions(Path("/W/shut"), 0300));
    const std::vector<ScannedFolder> watched{
        {Path("/Watched"), {"fcp"}}, {Path("/V"), {"prproj"}}, {Path("/gone"), {"fcp"}}};
    const auto paths = scanForProjects({{Path("/W/new"), {"fcp"}}}, {}, watched).projects;
    EXPECT_THAT(paths, ElementsAre(Path("/W/new/3/hidden.fcp"), Path("/W/new/4/shut.fcp"),
                                   Path("/W/new/5/other.fcp")));
    // A folder is told by the name of a link.
    file("/W/a/new/own/deep.fcp");
    link("/W/a/out", "/X");
    file("/X/deep/out.fcp");
    for (const auto& [folder, project] :
         {std::pair{"/W/new/1/new/own", "/Watched/a/new/own/deep.fcp"},
          {"/W/a/new/own", "/W/a/new/own/deep.fcp"},
          {"/W/new/2/out/deep", "/Watched/a/out/deep/out.fcp"}}) {
        const ScannedFolder told{Path(folder), {"fcp"}, WithSubfolders::no};
        EXPECT_THAT(scanForProjects({told}, {}, watched).projects, ElementsAre(Path(project)));
    }
    fake.faults.refusePath(Path("/W/a"), EIO);
    EXPECT_EQ(scanForProjects({{Path("/W/new"), {"fcp"}}}, {}, watched).projects, paths);
}

TEST_F(FolderScanTest, AFolderAloneIsNotGoneDownInto) {
    file("/W/a.fcp");
    file("/W/in/b.fcp");
    file("/W/in/deep/c.fcp");
    file("/X/d.fcp");
    link("/W/link", "/X");
    const ScannedFolder alone{Path("/W"), {"fcp"}, WithSubfolders::no};
    EXPECT_THAT(found({alone}), ElementsAre("/W/a.fcp"));
    // By itself, and as a part of a tree that comes later.
    const ScannedFolder in{Path("/W/in"), {"fcp"}, WithSubfolders::no};
    EXPECT_EQ(found({in, {Path("/W"), {"fcp"}}}).size(), 4U);
}

TEST_F(FolderScanTest, AnXMLFileIsAProjectWhenItHoldsAnEdit) {
    file("/W/edit.xml", "<?xml version=\"1.0\"?>\n<!DOCTYPE xmeml>\n<xmeml version=\"5\">");
    file("/W/CARD0001.XML", "<?xml version=\"1.0\"?>\n<NonRealTimeMeta>");
    file("/W/sidecar.fcp", "<NonRealTimeMeta>");
    file("/W/shut.xml", "<xmeml>");
    ASSERT_FALSE(fake.files.setPermissions(Path("/W/shut.xml"), 0));
    EXPECT_THAT(found("fcp,xml"), ElementsAre("/W/edit.xml", "/W/sidecar.fcp"));
    ASSERT_FALSE(fake.files.setPermissions(Path("/W/shut.xml"), 0600));
    file("/W/CARD0001.XML", "<mlt>");
    EXPECT_THAT(found("xml"), ElementsAre("/W/CARD0001.XML", "/W/edit.xml", "/W/shut.xml"));
}

TEST_F(FolderScanTest, EndsWhenTheTimeIsUp) {
    file("/W/a/one.fcp");
    const ScanResult none = scanForProjects({{Path("/W"), {"fcp"}}}, {}, {}, Seconds(0));
    EXPECT_FALSE(none.isComplete);
    EXPECT_THAT(none.projects, IsEmpty());
    EXPECT_TRUE(scanForProjects({{Path("/W"), {"fcp"}}}, {}, {}, Seconds(1)).isComplete);
}

}  // namespace
}  // namespace larkspan
