#include "backup/Retention.h"
#include "support/StoreTest.h"

#include <cerrno>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using namespace std::chrono_literals;
using platform::FileOperation;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr auto day = 24h;

class RetentionTest : public testing::StoreTest {
  protected:
    // Rules under which everything of more than a day before the newest version goes.
    void setRules(const Value::Dictionary& changes = {}) {
        Value::Dictionary rules{{"storagePath", "/Store"},
                                {"backupManagementMinLimitSet", 0},
                                {"deleteBackupCount", 1},
                                {"removalType", 1}};
        for (const auto& [key, value] : changes) rules.insert_or_assign(key, value);
        setPreferences(rules);
    }
    // Three versions with renditions and pictures, all but the last long past.
    void addFinalCutProject(const std::string& identifier) {
        addProject(identifier, identifier + ".fcp");
        for (const auto& [number, age] :
             {std::pair("1", 9 * day), {"2", 8 * day}, {"3", 0 * day}}) {
            const std::string name = std::string("Cut.0000") + number;
            addVersion(identifier, name + ".fcp", age);
            addVersion(identifier, name + ".xml", age);
            writeFile(folderOf(identifier) / "Screenshots" / (name + ".jpg"), "picture");
        }
    }
    std::vector<std::string> pictureNames(const std::string& identifier) {
        return namesIn(folderOf(identifier) / "Screenshots");
    }

    // Versions of which the mirror was told, by then still there and removed.
    std::vector<Path> noted;
    std::vector<Path> synced;
    ProjectList list{fake.faults, fake.clock};
    Retention retention{list,
                        {.noteRemovals =
                             [this](const auto& versions) {
                                 noted.insert(noted.end(), versions.begin(), versions.end());
                                 for (const Path& version : versions)
                                     EXPECT_TRUE(fake.files.exists(version));
                             },
                         .remove =
                             [this](const auto& versions) {
                                 synced.insert(synced.end(), versions.begin(), versions.end());
                             }}};
};

TEST_F(RetentionTest, RemovesVersionsWithWhatBelongsToThem) {
    setRules();
    addFinalCutProject("A");
    retention.manageBackups();
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00003.fcp", "Cut.00003.xml"));
    EXPECT_THAT(pictureNames("A"), ElementsAre("Cut.00003.jpg"));
    const std::string first = versionsOf("A").str() + "/Cut.00001";
    const auto lines = loggedLines();
    ASSERT_GE(lines.size(), 5U);
    EXPECT_EQ(lines[0], "Starting backup management");
    EXPECT_EQ(lines[1], "Removing backup " + first + ".fcp...");
    EXPECT_EQ(lines[2], "Deleting file " + first + ".fcp...");
    EXPECT_EQ(lines[3], "Deleting " + first + ".xml...");
    EXPECT_EQ(lines[4], "Deleting " + folderOf("A").str() + "/Screenshots/Cut.00001.jpg...");
    EXPECT_THAT(synced, IsEmpty()) << "not unless the user synchronises";
    retention.manageBackups();
    EXPECT_EQ(versionNames("A").size(), 2U);
}

TEST_F(RetentionTest, SendsThemToTheTrash) {
    setRules({{"removalType", 0}});
    addFinalCutProject("A");
    retention.manageBackups();
    EXPECT_EQ(versionNames("A").size(), 2U);
    EXPECT_EQ(namesIn(fake.places.homeDirectory() / fake.places.trashFolderInHome()).size(), 6U);
    EXPECT_THAT(loggedLines(), Contains("Sending file to trash...").Times(0));
    EXPECT_THAT(loggedLines(),
                Contains("Sending " + versionsOf("A").str() + "/Cut.00001.xml to trash..."));
}

TEST_F(RetentionTest, DoesNothingWhenSwitchedOffOrWithoutStore) {
    addFinalCutProject("A");
    setRules({{"manageBackups", 0}});
    retention.manageBackups();
    EXPECT_THAT(loggedLines(), IsEmpty());
    for (const char* root : {"/Missing", "/Work/A.fcp", "/Volumes/Gone/Store"}) {
        setRules({{"storagePath", root}});
        retention.manageBackups();
        EXPECT_THAT(loggedLines(), Contains(HasSubstr("there is no version store at ")));
    }
    EXPECT_EQ(versionNames("A").size(), 6U);
}

TEST_F(RetentionTest, TheLimitOfOldVersionsEndsTheRunAndTheCloudIsTold) {
    setRules({{"oldBackupLimit", 0}, {"deleteBackupSet", 0}, {"syncService", 1}});
    addFinalCutProject("A");
    addFinalCutProject("B");
    retention.manageBackups();
    EXPECT_EQ(versionNames("A").size(), 2U);
    EXPECT_EQ(versionNames("B").size(), 6U);
    EXPECT_EQ(synced.size(), 2U);
    retention.manageBackups();
    EXPECT_EQ(versionNames("B").size(), 2U) << "its turn comes in the next run";
}

TEST_F(RetentionTest, TellsTheCloudWhatWasRemoved) {
    setRules({{"syncService", 1}});
    addFinalCutProject("A");
    retention.manageBackups();
    EXPECT_THAT(synced,
                ElementsAre(versionsOf("A") / "Cut.00001.fcp", versionsOf("A") / "Cut.00002.fcp"));
    EXPECT_EQ(noted, synced);
    setRules({{"syncService", 1}, {"syncDeleteRemoteFiles", 0}});
    retention.removeBackup(versionsOf("A") / "Cut.00003.fcp", RemovalType::remove);
    EXPECT_THAT(synced, SizeIs(2));
    EXPECT_THAT(noted, SizeIs(2));
    EXPECT_FALSE(fake.files.exists(versionsOf("A"))) << "an empty version folder goes";
}

TEST_F(RetentionTest, WhatCannotBeRemovedStaysAndTheRestGoes) {
    setRules({{"syncService", 1}});
    addFinalCutProject("A");
    const Path stuck = versionsOf("A") / "Cut.00001.fcp";
    fake.faults.refuseCall(FileOperation::removeFile, 1, EROFS);
    fake.faults.refuseCall(FileOperation::removeItem, 1, EROFS);
    retention.manageBackups();
    EXPECT_TRUE(fake.files.exists(stuck));
    EXPECT_FALSE(fake.files.exists(versionsOf("A") / "Cut.00002.fcp"));
    EXPECT_THAT(loggedLines(), Contains(HasSubstr("Error removing file: ")).Times(1));
    EXPECT_THAT(synced, Contains(stuck)) << "it still goes in the cloud";
}

TEST_F(RetentionTest, AFolderThatBecomesReadOnlyInTheMiddleKeepsWhatIsLeft) {
    setRules();
    addFinalCutProject("A");
    addFinalCutProject("B");
    fake.faults.beforeCall(FileOperation::removeFile, [&](const Path& path) {
        if (path == versionsOf("A") / "Cut.00002.fcp") {
            ASSERT_FALSE(fake.files.setPermissions(versionsOf("A"), 0500));
        }
    });
    retention.manageBackups();
    EXPECT_THAT(versionNames("A"),
                ElementsAre("Cut.00002.fcp", "Cut.00002.xml", "Cut.00003.fcp", "Cut.00003.xml"));
    EXPECT_THAT(pictureNames("A"), ElementsAre("Cut.00003.jpg")) << "that folder may be written";
    EXPECT_THAT(loggedLines(), Contains(HasSubstr("Error removing file: ")).Times(2));
    EXPECT_EQ(versionNames("B").size(), 2U) << "the run goes on";
    fake.faults.beforeCall(FileOperation::removeFile, {});
    ASSERT_FALSE(fake.files.setPermissions(versionsOf("A"), 0700));
    retention.manageBackups();
    EXPECT_EQ(versionNames("A").size(), 2U) << "it is tried again";
}

TEST_F(RetentionTest, WhatCannotBeReadIsNoEmptyFolder) {
    setRules();
    addFinalCutProject("A");
    writeFile(versionsOf("A") / "Bundle.00004.fcpproject/inside", "x", ago(9 * day));
    fake.faults.refusePath(versionsOf("A"), EIO);
    retention.manageBackups();
    fake.faults.refusePath(versionsOf("A"), 0);
    EXPECT_EQ(versionNames("A").size(), 7U);
    EXPECT_THAT(loggedLines(), Contains(HasSubstr("Unable to read the versions in ")).Times(1));

    ASSERT_FALSE(fake.files.setPermissions(versionsOf("A") / "Bundle.00004.fcpproject", 0));
    for (const char* name : {"Cut.00001.fcp", "Cut.00002.fcp", "Cut.00003.fcp"}) {
        retention.removeBackup(versionsOf("A") / name, RemovalType::remove);
    }
    EXPECT_THAT(versionNames("A"), ElementsAre("Bundle.00004.fcpproject"));
}

TEST_F(RetentionTest, TouchesOnlyProjects) {
    setRules();
    addFinalCutProject("A");
    ASSERT_FALSE(fake.files.removeItem(folderOf("A") / "Settings.plist"));
    retention.manageBackups();
    EXPECT_EQ(versionNames("A").size(), 6U);
}

TEST_F(RetentionTest, UnlocksWhatIsLocked) {
    setRules();
    addFinalCutProject("A");
    for (const char* name : {"Cut.00001.fcp", "Cut.00002.xml"}) {
        ASSERT_FALSE(fake.files.setLocked(versionsOf("A") / name, true));
    }
    retention.manageBackups();
    EXPECT_EQ(versionNames("A").size(), 2U);
    EXPECT_THAT(loggedLines(), Not(Contains(HasSubstr("rror"))));
}

TEST_F(RetentionTest, WhatVanishedSinceTheListingIsAsGoodAsRemoved) {
    setRules({{"syncService", 1}});
    addFinalCutProject("A");
    fake.faults.beforeCall(FileOperation::removeFile, [&](const Path& path) {
        if (path == versionsOf("A") / "Cut.00001.fcp") (void)fake.files.removeItem(path);
    });
    retention.manageBackups();
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00003.fcp", "Cut.00003.xml"));
    EXPECT_THAT(loggedLines(), Not(Contains(HasSubstr("rror"))));
    EXPECT_EQ(synced.size(), 2U);
}

TEST_F(RetentionTest, RemovesVersionsThatAreFolders) {
    setRules();
    addProject("A", "Cut.fcpproject");
    writeFile(versionsOf("A") / "Cut.00001.fcpproject/CurrentVersion.fcpproject", "x",
              ago(9 * day));
    ASSERT_FALSE(
        fake.files.setModificationDate(versionsOf("A") / "Cut.00001.fcpproject", ago(9 * day)));
    addVersion("A", "Cut.00002.fcpproject", 0h);
    retention.manageBackups();
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00002.fcpproject"));
}

TEST_F(RetentionTest, GoesOncePerRunThroughAFolder) {
    setRules();
    addFinalCutProject("A");
    const int listed = fake.faults.callCount(FileOperation::folderEntries);
    const int removedByPath = fake.faults.callCount(FileOperation::removeItem);
    retention.manageBackups();
    EXPECT_EQ(fake.faults.callCount(FileOperation::folderEntries) - listed, 3)
        << "the store, the versions, the pictures";
    EXPECT_EQ(fake.faults.callCount(FileOperation::removeItem), removedByPath)
        << "plain files go by their open folder";
}

TEST_F(RetentionTest, LeavesOddEntriesInPeace) {
    setRules();
    addProject("A", "Cut.fcp");
    addVersion("A", "Cut.100000.fcp", 0h);
    addVersion("A", "Cut.00001.fcp", 2 * day);
    addVersion("A", "Cut.99999.fcp", 0h);
    addVersion("A", ".hidden", 100 * day);
    fake.files.addLink(versionsOf("A") / "Cut.00002.fcp", "/nowhere");
    fake.files.addPipe(versionsOf("A") / "Cut.00003.fcp");
    retention.manageBackups();
    EXPECT_THAT(versionNames("A"), Not(Contains("Cut.00001.fcp")));
    EXPECT_THAT(versionNames("A"),
                ::testing::IsSupersetOf({".hidden", "Cut.00002.fcp", "Cut.100000.fcp"}));
}

TEST_F(RetentionTest, ACacheBesideItTakesOverWhatChanged) {
    setRules();
    addFinalCutProject("A");
    const auto entry = [](const char* change) {
        return Value::Dictionary{{"type", "xml"}, {"changelist", Value::Array{change}}};
    };
    const auto caches = storelayout::cacheFolder();
    const Path file = storelayout::cacheFile(*caches, versionsOf("A"));
    ASSERT_EQ(file.lastPathComponent(), "Versions.cache.plist");
    ASSERT_FALSE(savePropertyList(
        Value::Dictionary{{"Cut.00002.xml", entry("a")}, {"Cut.00003.xml", entry("b")}}, file));
    retention.removeBackup(versionsOf("A") / "Cut.00002.xml", RemovalType::remove);
    const auto cache = loadPropertyList(file);
    ASSERT_TRUE(cache);
    EXPECT_FALSE(cache->find("Cut.00002.xml"));
    EXPECT_EQ(*cache->find("Cut.00003.xml")->find("changelist")->array()->at(0).string(),
              "(Base version)");
    EXPECT_THAT(versionNames("A"), Not(Contains("Cut.00002.fcp"))) << "the copy goes with it";
    writeFile(file, "torn");
    retention.removeBackup(versionsOf("A") / "Cut.00001.xml", RemovalType::remove);
    EXPECT_EQ(*fake.files.readFile(file, 99), "torn");
}

TEST_F(RetentionTest, SaysOnceThatAPeriodKeepsOne) {
    setRules({{"oldBackupCount", 0}});
    addFinalCutProject("A");
    retention.manageBackups();
    retention.manageBackups();
    EXPECT_THAT(loggedLines(),
                Contains("oldBackupCount is 0; one version is kept per period").Times(1));
}

TEST_F(RetentionTest, RemovesTheLastVersionWhenItIsADuplicate) {
    addProject("A", "Cut.fcp");
    const auto version = [&](const char* name, const char* content) {
        writeFile(versionsOf("A") / name, content);
    };
    version("Cut.00001.fcp", "same");
    EXPECT_FALSE(Retention::removeLastDuplicateForProject(versionsOf("A")));
    version("Cut.00002.fcp", "same");
    EXPECT_TRUE(Retention::removeLastDuplicateForProject(versionsOf("A")));
    EXPECT_THAT(versionNames("A"), ElementsAre("Cut.00001.fcp"));
    version("Cut.00002.fcp", "different");
    EXPECT_FALSE(Retention::removeLastDuplicateForProject(versionsOf("A")));
    // With renditions between them copies are never compared with copies, deliberately.
    version("Cut.00003.fcp", "different");
    version("Cut.00002.xml", "rendition");
    version("Cut.00003.xml", "rendition 3");
    EXPECT_FALSE(Retention::removeLastDuplicateForProject(versionsOf("A")));
    EXPECT_FALSE(Retention::removeLastDuplicateForProject(Path("/missing")));
}

TEST_F(RetentionTest, AFolderWithOneHiddenEntryIsEmpty) {
    for (const auto& [name, files, goes] : {std::tuple("a", std::vector{".DS_Store"}, true),
                                            {"b", {".a", ".b"}, false},
                                            {"c", {"visible"}, false},
                                            {"d", {}, true}}) {
        const Path folder = Path("/F") / name;
        ASSERT_FALSE(fake.files.createFolder(folder));
        for (const char* file : files) writeFile(folder / file, "");
        EXPECT_EQ(Retention::removeEmptyFolder(folder), goes) << name;
        EXPECT_EQ(fake.files.exists(folder), !goes) << name;
    }
    EXPECT_FALSE(Retention::removeEmptyFolder(Path("/missing")));
}

}  // namespace
}  // namespace larkspan
