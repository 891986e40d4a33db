#include "frontend/FrontEndTest.h"
#include "frontend/ProjectSearch.h"
#include "frontend/WatchList.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

Value entry(const std::string& folder, const std::string& extensions = defaultExtensions) {
    return Value::Dictionary{{"folder", folder}, {"extensions", extensions}};
}

TEST(WatchListTest, PathsAreMadeAbsoluteAsTextOnly) {
    const std::vector<std::pair<std::string, std::string>> table{
        {"Film", "/Work/Film"},
        {".", "/Work"},
        {"./a//b/", "/Work/a/b"},
        {"..", "/"},
        {"/a/../../b", "/b"},
        {"/", "/"},
        {"", "/Work"},
        {"~/Film", "/Work/~/Film"},
        {"/a b/\n", "/a b/\n"},
    };
    for (const auto& [typed, path] : table) {
        EXPECT_EQ(absolutePath(typed, Path("/Work")), Path(path)) << typed;
    }
}

TEST(WatchListTest, ExtensionsAreTidied) {
    EXPECT_EQ(tidyExtensions(" FCP, .prproj ,,fcp\n"), "fcp,prproj");
    EXPECT_EQ(tidyExtensions(" , ."), "");
}

TEST(WatchListTest, AStoreWithinReachOfAWatchIsAConflict) {
    const std::vector<std::tuple<std::string, std::string, bool>> table{
        {"/Work", "/Work/Store", true},
        {"/Store/A.localized", "/Store/", true},
        {"/Store", "/Store", true},
        {"/", "/Store", true},
        {"/Work", "/Work/.hidden/Store", false},
        {"/Work", "/Workshop", false},
        {"/Work", "/Store", false},
    };
    for (const auto& [folder, store, conflict] : table) {
        EXPECT_EQ(!storeConflict(Path(folder), Path(store)).empty(), conflict)
            << folder << " " << store;
    }
}

using WatchTest = testing::FrontEndTest;

TEST_F(WatchTest, AddStoresTheFolderAndTellsTheHelper) {
    startHelper();
    const auto outcome = run({"watch", "add", "Film/"});
    EXPECT_EQ(outcome.status, ExitStatus::done) << outcome.messages;
    EXPECT_EQ(preference("watchFolders"), Value(Value::Array{entry("/Work/Film")}));
    EXPECT_THAT(called, ElementsAre("updateConfiguration", "startBackupScan"));
    EXPECT_THAT(outcome.output, HasSubstr("Watching /Work/Film for fcp,"));
}

TEST_F(WatchTest, AddSaysHowManyProjectsThereAre) {
    EXPECT_THAT(run({"watch", "add", "Film"}).output, HasSubstr("It holds no project yet."));
    fake.files.addFile(Path("/Work/Film/sidecar.xml"), "<NonRealTimeMeta>");
    fake.files.addFile(Path("/Work/Film/in/edit.xml"), "<xmeml version=\"5\">");
    EXPECT_THAT(run({"watch", "add", "Film"}).output, HasSubstr("It holds 1 project."));
    for (const char* extension :
         {"fcp", "fcpxml", "fcpxmld", "prproj", "kdenlive", "mlt", "otio", "osp", "drp", "aep"}) {
        fake.files.addFile(Path(std::string("/Work/Film/a.") + extension), "x");
    }
    for (const char* bundle : {"b.fcpproject", "b.fcpevent", "b.fcpxmld"}) {
        fake.files.addFolder(Path("/Work/Film") / bundle);
    }
    EXPECT_THAT(run({"watch", "add", "Film"}).output, HasSubstr("It holds 14 projects."));
    EXPECT_THAT(run({"watch", "add", "Film", "--extensions", "xml"}).output,
                HasSubstr("It holds 1 project."));
}

TEST_F(WatchTest, AddWithoutAHelperIsDoneAndSaysThatNothingRuns) {
    const auto outcome = run({"watch", "add", "/Work/Film", "--extensions", "FCP"});
    EXPECT_EQ(outcome.status, ExitStatus::done);
    EXPECT_EQ(preference("watchFolders"), Value(Value::Array{entry("/Work/Film", "fcp")}));
    EXPECT_THAT(outcome.messages, HasSubstr("No helper is running"));
}

TEST_F(WatchTest, AddingAgainOnlyChangesTheExtensionsAndKeepsStrangeEntries) {
    const Value strange = Value::Dictionary{{"path", "/x"}};
    setPreferences({{"storagePath", "/Store"},
                    {"watchFolders", Value::Array{strange, 7, entry("/Work/Film/", "fcp")}}});
    EXPECT_THAT(run({"watch", "add", "Film"}).output, HasSubstr("already."));
    EXPECT_THAT(run({"watch", "add", "Film", "--extensions", "xml"}).output,
                HasSubstr("its extensions are now xml."));
    EXPECT_EQ(preference("watchFolders"),
              Value(Value::Array{strange, 7, entry("/Work/Film", "xml")}));
}

TEST_F(WatchTest, WhatCannotBeWatchedIsAnErrorThatSaysWhatToDo) {
    fake.files.addFile(Path("/Work/Cut.fcp"), "x");
    fake.files.addFolder(Path("/Work/Locked"));
    ASSERT_FALSE(fake.files.setPermissions(Path("/Work/Locked"), 0));
    fake.files.addLink(Path("/Work/Lost"), "/nowhere");
    const std::vector<std::pair<std::string, std::string>> table{
        {"Missing", "There is no folder /Work/Missing."},
        {"Cut.fcp", "Give the folder that holds it: larkspan watch add /Work"},
        {"Locked", "You may not read the folder /Work/Locked."},
        {"Lost", "/Work/Lost is a link that leads nowhere."},
        {"/Store/x", "There is no folder"},
        {"/", "/ holds the version store /Store"},
    };
    for (const auto& [folder, message] : table) {
        const auto outcome = run({"watch", "add", folder});
        EXPECT_EQ(outcome.status, ExitStatus::failed) << folder;
        EXPECT_THAT(outcome.messages, HasSubstr(message));
    }
    EXPECT_EQ(preference("watchFolders"), Value("(not set)"));
    EXPECT_EQ(run({"watch", "add", "Film", "--extensions", ","}).status, ExitStatus::wrongUsage);
}

TEST_F(WatchTest, OverlappingFoldersAreAllowedWithANote) {
    (void)run({"watch", "add", "."});
    const auto outcome = run({"watch", "add", "Film"});
    EXPECT_EQ(outcome.status, ExitStatus::done);
    EXPECT_THAT(outcome.messages, HasSubstr("Note: /Work is watched too"));
}

TEST_F(WatchTest, AnUnreadablePreferencesFileIsNeverWritten) {
    const Path file = *Preferences::frontEndFile();
    writeFile(file, "torn <plist");
    const std::vector<std::vector<std::string>> commands{{"watch", "add", "Film"},
                                                         {"watch", "remove", "Film"},
                                                         {"watch", "list"},
                                                         {"prefs", "xmlLimit", "3"},
                                                         {"prefs", "xmlLimit", "--delete"},
                                                         {"projects"},
                                                         {"run", "Film"}};
    for (const auto& command : commands) {
        const auto outcome = run(command);
        EXPECT_EQ(outcome.status, ExitStatus::failed);
        EXPECT_THAT(outcome.messages, HasSubstr("cannot be read"));
        EXPECT_THAT(outcome.messages, HasSubstr("mv "));
    }
    EXPECT_EQ(contentOf(file), "torn <plist");
    setPreferences({{"watchFolders", "/Work"}});
    EXPECT_THAT(run({"watch", "add", "Film"}).messages, HasSubstr("holds no list of folders"));
    EXPECT_EQ(preference("watchFolders"), Value("/Work"));
}

TEST_F(WatchTest, RemoveTakesTheFolderOffTheList) {
    startHelper();
    (void)run({"watch", "add", "Film"});
    called.clear();
    const auto wrong = run({"watch", "remove", "Fim"});
    EXPECT_EQ(wrong.status, ExitStatus::failed);
    EXPECT_THAT(wrong.messages, HasSubstr("Did you mean /Work/Film?"));
    EXPECT_THAT(called, IsEmpty());
    EXPECT_EQ(run({"watch", "remove", "Film/"}).status, ExitStatus::done);
    EXPECT_EQ(preference("watchFolders"), Value(Value::Array()));
    EXPECT_THAT(called, ElementsAre("updateConfiguration"));
    setPreferences({{"watchFolders", Value::Array{entry("/Work//By Hand/")}}});
    EXPECT_EQ(run({"watch", "remove", "By Hand"}).status, ExitStatus::done);
}

TEST_F(WatchTest, ListShowsEveryFolderAndWhetherItIsThere) {
    EXPECT_THAT(run({"watch", "list"}).messages, HasSubstr("No folder is watched."));
    EXPECT_EQ(run({"watch", "list", "--json"}).output, "[]\n");
    setPreferences(
        {{"watchFolders", Value::Array{entry("/Work/Film", "fcp"), entry("/Gone", "prproj,xml")}}});
    EXPECT_EQ(run({"watch", "list"}).output,
              "FOLDER      EXTENSIONS  STATE\n"
              "/Work/Film  fcp         there\n"
              "/Gone       prproj,xml  missing\n");
    EXPECT_THAT(run({"watch", "list", "--json"}).output,
                HasSubstr("\"exists\": true,\n    \"extensions\": \"fcp\",\n    \"folder\": "
                          "\"/Work/Film\""));
}

}  // namespace
}  // namespace larkspan
