#include "app/WatchConfiguration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspan {

bool operator==(const WatchFolder& a, const WatchFolder& b) {
    return a.folder == b.folder && a.extensions == b.extensions;
}

namespace {

using ::testing::IsEmpty;

std::vector<Path> paths(std::initializer_list<const char*> texts) {
    std::vector<Path> list;
    for (const char* text : texts) list.emplace_back(text);
    return list;
}

std::vector<WatchFolder> folders(std::initializer_list<const char*> texts) {
    std::vector<WatchFolder> list;
    for (const char* text : texts) list.push_back({Path(text), "fcp"});
    return list;
}

TEST(WatchConfiguration, BuildsTheWatchList) {
    struct Case {
        const char* what;
        std::vector<WatchFolder> folders;
        std::vector<Path> projects;
        std::vector<Path> watched;
    };
    const Case cases[] = {
        {"doubles go", folders({"/A", "/B", "/A"}), {}, paths({"/A", "/B"})},
        {"folders of the editing application are not watched whole",
         folders({"/A/Final Cut Projects", "/A/FINAL CUT EVENTS", "/B"}),
         {},
         paths({"/B"})},
        {"but through the projects in them", folders({"/A/Final Cut Projects"}),
         paths({"/A/Final Cut Projects/Old.fcp"}), paths({"/A/Final Cut Projects"})},
        {"unless these are bundles",
         folders({"/A/Final Cut Projects"}),
         paths({"/A/Final Cut Projects/F/CurrentVersion.fcpproject", "/E/X.FCPEVENT"}),
         {}},
        {"a project below a listed folder adds nothing", folders({"/Work"}),
         paths({"/Work/Film/Cut.fcp"}), paths({"/Work"})},
        {"nor does a folder that only begins alike", folders({"/Work"}),
         paths({"/Workshop/Cut.fcp"}), paths({"/Work"})},
        {"projects elsewhere add their folder once",
         {},
         paths({"/X/a.fcp", "/X/b.prproj", "/Y/c.fcp"}),
         paths({"/X", "/Y"})},
    };
    for (const Case& c : cases) EXPECT_EQ(watchPaths(c.folders, c.projects), c.watched) << c.what;
}

TEST(WatchConfiguration, ChoosesTheFoldersOfADiscoveryRun) {
    const auto watched = folders({"/W", "/U"});
    const auto drive = folders({"Projects", ""});
    const auto volumes = paths({"/Volumes/A", "/Volumes/B"});
    EXPECT_EQ(discoveryFolders(watched, drive, volumes, std::nullopt),
              folders({"/W", "/U", "/Volumes/A/Projects", "/Volumes/B/Projects"}));
    EXPECT_EQ(discoveryFolders(watched, drive, volumes, Path("/W/Film/")), folders({"/W"}));
    EXPECT_EQ(discoveryFolders(watched, drive, volumes, Path("/Workshop/")), folders({"/W"}));
    EXPECT_THAT(discoveryFolders(watched, drive, volumes, Path("/Volumes/A")), IsEmpty());
}

TEST(WatchConfiguration, ChoosesTheChangedFoldersOfADiscoveryRun) {
    const std::vector<WatchFolder> watched = {
        {Path("/W/"), "fcp"}, {Path("/W/in"), "XML"}, {Path("/U/Updated Projects"), "fcp"}};
    struct Case {
        ChangedFolder changed;
        std::vector<ScannedFolder> scanned;
    };
    const auto alone = [](const char* folder, const char* type = "fcp") {
        return ScannedFolder{Path(folder), {type}, WithSubfolders::no};
    };
    const auto tree = [](const char* folder, const char* type = "fcp") {
        return ScannedFolder{Path(folder), {type}, WithSubfolders::yes};
    };
    const Case cases[] = {
        {{Path("/W")}, {alone("/W")}},
        {{Path("/W/a"), true}, {tree("/W/a")}},
        {{Path("/W/in/deep")}, {alone("/W/in/deep"), alone("/W/in/deep", "xml")}},
        {{Path("/W/in.fcpbundle/x")}, {alone("/W/in.fcpbundle/x")}},
        {{Path("/W/.hidden/x")}, {}},
        {{Path("/W/Final Cut Backups")}, {}},
        {{Path("/W/Film.fcpproject/x")}, {}},
        {{Path("/Workshop")}, {}},
        {{Path("/U/Updated Projects/x")}, {}},
        {{Path("/")}, {}},
        {{Path("/"), true}, {tree("/W/"), tree("/W/in", "xml"), tree("/U/Updated Projects")}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(changedFoldersWithin(watched, {c.changed}), c.scanned) << c.changed.path;
    }
}

TEST(WatchConfiguration, WorksOutTheBackupInterval) {
    struct Case {
        std::optional<Value> enabled;
        std::optional<Value> minutes;
        long seconds;
    };
    const Case cases[] = {{std::nullopt, std::nullopt, 630},
                          {0, 5, 630},
                          {false, 5, 630},
                          {std::nullopt, 5, 330},
                          {1, 5, 330},
                          {1, 0, 630},
                          {1, -4, 630},
                          {"0", 5, 330},
                          {1, "7", 450},
                          {1, Value::Array{}, 630},
                          {1, 9e18, 60L * 24 * 366 * 60 + 30}};
    for (const Case& c : cases) {
        Value::Dictionary values;
        if (c.enabled) values.emplace("backupMinIntervalEnabled", *c.enabled);
        if (c.minutes) values.emplace("backupMinInterval", *c.minutes);
        EXPECT_EQ(backupInterval(Preferences(Value(values))).count(), c.seconds)
            << describe(Value(values));
    }
}

TEST(WatchConfiguration, RecognisesTheFrontEndsRestore) {
    const Date now = dateFromUnixTime(1'000'000);
    const auto restored = [&](std::optional<long> secondsAgo) {
        Value::Dictionary values{{"lastRestoredProject", "/Projects/Edit/Cut.fcp"}};
        if (secondsAgo) values.emplace("lastRestoreDate", now - std::chrono::seconds(*secondsAgo));
        return Preferences(Value(values));
    };
    EXPECT_TRUE(isFromRestore(Path("/Projects/Edit/"), restored(10), now));
    EXPECT_FALSE(isFromRestore(Path("/Projects/Edit/"), restored(20), now));
    EXPECT_FALSE(isFromRestore(Path("/Projects/Edit/"), restored(25), now));
    EXPECT_TRUE(isFromRestore(Path("/Projects/Edit/"), restored(std::nullopt), now));
    EXPECT_FALSE(isFromRestore(Path("/Projects/Other/"), restored(10), now));
    EXPECT_FALSE(isFromRestore(Path("/Projects/Edit/"), Preferences(), now));
}

TEST(WatchConfiguration, ReadsOnlyEntriesThatNameAFolder) {
    const Value::Array entries{Value::Dictionary{{"folder", "/A"}, {"extensions", "fcp"}},
                               Value::Dictionary{{"extensions", "fcp"}},
                               "text",
                               7,
                               Value::Dictionary{{"folder", 3}},
                               Value::Dictionary{{"folder", "/B"}}};
    const Preferences preferences(Value(Value::Dictionary{{"watchFolders", entries}}));
    const auto read = watchFolders(preferences, "watchFolders");
    ASSERT_EQ(read.size(), 2U);
    EXPECT_EQ(read[0], (WatchFolder{Path("/A"), "fcp"}));
    EXPECT_EQ(read[1], (WatchFolder{Path("/B"), ""}));
}

}  // namespace
}  // namespace larkspan
