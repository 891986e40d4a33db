#include "kit/Identifiers.h"
#include "kit/ZBFileManager.h"
#include "support/CloudTest.h"
#include "sync/CloudMirror.h"
#include "sync/MirrorRecords.h"

#include <cerrno>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

const Path versions("/Store/AAAA.localized/Versions");

// In the front-end's process, with a linked account.
class CloudMirrorTest : public testing::CloudTest {
  protected:
    CloudMirrorTest() {
        ZBLog::createNewLog();
        ZBLog::finishWriting();
        becomeProgram(frontEndBundleIdentifier);
        fake.files.addFolder(temp);
        setPreferences(syncPreferences());
        link();
        for (const char* name :
             {"ZBLarkspanSyncedFiles", "ZBLarkspanMetadataError", "ZBLarkspanUploadProgress",
              "ZBLarkspanSyncComplete", "ZBLarkspanSyncFailed", "ZBLarkspanRemoveRemoteFile",
              "ZBLarkspanRemoveRemoteFileFailed", "ZBLarkspanFileDownloaded",
              "ZBLarkspanFileDownloadProgress"}) {
            observers.push_back(NotificationCenter::defaultCenter().addObserver(
                name, [this](const auto& notification) { note(notification); }));
        }
    }
    void becomeProgram(const char* identifier) {
        fake.bundles.main = platform::FakeBundles::bundle(fake.bundles.main.path, identifier);
    }
    void note(const NotificationCenter::Notification& notification) {
        EXPECT_TRUE(fake.mainThread.isCurrent());
        const bool isProgress = notification.name.ends_with("Progress");
        (isProgress ? progress : posted).push_back(notification);
        if (!isProgress) fake.mainThread.stop();
    }
    // The next notification but those of progress.
    NotificationCenter::Notification next() {
        while (posted.empty()) fake.mainThread.run();
        auto first = posted.front();
        posted.erase(posted.begin());
        return first;
    }
    Path addVersion(const std::string& name, const std::string& content = "version") {
        Path version = versions / name;
        writeFile(version, content);
        return version;
    }
    // What lies in an archive of a file, or "" when it is none.
    std::string unpacked(const std::string& remote, const std::string& name) {
        writeFile(temp / "check.zip", server.content(remote).value_or(""));
        const Path folder = temp / "check";
        const bool isArchive = !fake.archives.unpack(temp / "check.zip", folder);
        std::string content = isArchive ? contentOf(folder / name) : "";
        (void)fake.files.removeItem(temp / "check.zip");
        (void)fake.files.removeItem(folder);
        return content;
    }
    // As a process that was started for one upload.
    void runUploadProcess(const Path& version) {
        mirror.setUploadProcess(
            {.setBadge = [this](const std::string& badge) { badges.push_back(badge); },
             .terminate =
                 [this](const std::string& problem) {
                     ++terminations;
                     problems.push_back(problem);
                     fake.mainThread.stop();
                 }});
        const int before = terminations;
        mirror.uploadFileToCloud(version);
        while (terminations == before) fake.mainThread.run();
    }

    const Path temp = fake.places.temporary;
    std::vector<NotificationCenter::Token> observers;
    std::vector<NotificationCenter::Notification> posted;
    std::vector<NotificationCenter::Notification> progress;
    std::vector<std::string> badges;
    int terminations = 0;
    std::vector<std::string> problems;
    CloudMirror mirror;
};

TEST_F(CloudMirrorTest, AVersionLiesPackedInTheFolderOfItsProject) {
    for (const char* name : {"Cut.00003.fcp", "My Cut.00001.fcp", "100% \xc3\xbc,b.00001.prproj"}) {
        mirror.uploadFileToCloud(addVersion(name, std::string("content of ") + name));
        const auto told = next();
        EXPECT_EQ(told.name, "ZBLarkspanSyncComplete");
        const Path archive(*told.userInfo.find("filename")->string());
        EXPECT_EQ(archive.lastPathComponent(), std::string(name) + ".zip");
        EXPECT_TRUE(archive.isWithin(temp));
        EXPECT_NE(archive.deletingLastPathComponent(), temp) << "others pack under the same name";
        EXPECT_EQ(unpacked("/AAAA/" + std::string(name) + ".zip", name),
                  std::string("content of ") + name);
    }
    EXPECT_THAT(namesIn(temp), IsEmpty());
    EXPECT_THAT(fake.console.reported(),
                ElementsAre("upload complete", "upload complete", "upload complete"));
    ASSERT_FALSE(progress.empty());
    EXPECT_EQ(progress.back().name, "ZBLarkspanUploadProgress");
    EXPECT_EQ(*progress.back().userInfo.find("progress"), Value(1.0));
}

TEST_F(CloudMirrorTest, SeveralUploadsGoOneAfterTheOtherEvenUnderOneName) {
    const Path other("/Store/BBBB.localized/Versions/Cut.00001.fcp");
    writeFile(other, "other");
    mirror.uploadFileToCloud(addVersion("Cut.00001.fcp"));
    mirror.uploadFileToCloud(other);
    (void)next();
    (void)next();
    EXPECT_EQ(unpacked("/AAAA/Cut.00001.fcp.zip", "Cut.00001.fcp"), "version");
    EXPECT_EQ(unpacked("/BBBB/Cut.00001.fcp.zip", "Cut.00001.fcp"), "other");
}

TEST_F(CloudMirrorTest, WhatCannotBePackedGoesAsItIsAndStaysInTheStore) {
    const Path version = addVersion("Cut.00003.fcp");
    fake.faults.refuseCall(platform::FileOperation::writeFileAtomically, 2, ENOSPC);
    mirror.uploadFileToCloud(version);
    EXPECT_EQ(next().name, "ZBLarkspanSyncComplete");
    EXPECT_EQ(server.content("/AAAA/Cut.00003.fcp"), "version");
    EXPECT_EQ(contentOf(version), "version");
    // Only archives are removed.
    mirror.removeSyncedFiles({version});
    EXPECT_EQ(next().name, "ZBLarkspanRemoveRemoteFile");
    EXPECT_EQ(server.content("/AAAA/Cut.00003.fcp"), "version");
}

TEST_F(CloudMirrorTest, AFailureIsPostedWithItsError) {
    server.failOnce("files/upload", {.status = 507});
    mirror.uploadFileToCloud(addVersion("Cut.00003.fcp"));
    const auto told = next();
    EXPECT_EQ(told.name, "ZBLarkspanSyncFailed");
    EXPECT_EQ(*told.userInfo.find("filename"), Value(""));
    EXPECT_EQ(*told.userInfo.find("error")->find("code"), Value(507));
    EXPECT_THAT(namesIn(temp), IsEmpty());
    EXPECT_THAT(loggedLines(), IsEmpty());
}

TEST_F(CloudMirrorTest, AnUploadProcessShowsItsProgressAndEnds) {
    runUploadProcess(addVersion("Cut.00003.fcp", std::string(300'000, 'x')));
    EXPECT_EQ(terminations, 1);
    ASSERT_GE(badges.size(), 2U);
    EXPECT_EQ(badges[badges.size() - 2], "100%");
    EXPECT_EQ(badges.back(), "");
    EXPECT_THAT(problems, ElementsAre(""));
    EXPECT_THAT(posted, IsEmpty());
    EXPECT_THAT(progress, IsEmpty());
}

TEST_F(CloudMirrorTest, AnUploadProcessSaysWhatToMakeOfAFailure) {
    const std::pair<int, std::string> cases[] = {
        {507, "Dropbox disk quota exceeded.\n\n"},
        {503, "App requests limited - please try again later.\n\n"},
        {429, "App requests limited - please try again later.\n\n"},
        {401, "Authentication error - please reauthorize Dropbox.\n\n"},
        {403, "Authentication error - please reauthorize Dropbox.\n\n"},
        {550, "Server error - please try again later.\n\n"},
        {404, ""},
    };
    for (const auto& [status, prefix] : cases) {
        server.failAlways("files/upload", {.status = status});
        ZBLog::createNewLog();
        runUploadProcess(addVersion("Cut.00003.fcp"));
        ZBLog::finishWriting();
        EXPECT_THAT(contentOf(ZBLog::availableLogs().front()),
                    HasSubstr("Dropbox upload failed: " + prefix +
                              "The cloud service answered with status " + std::to_string(status)));
        EXPECT_EQ(badges.back(), "");
        EXPECT_THAT(problems.back(), StartsWith(prefix + "The cloud service"));
    }
}

TEST_F(CloudMirrorTest, FailuresAreShownOnceInHalfAnHourAndAlwaysLogged) {
    server.failAlways("files/upload", {.status = 507});
    const Path version = addVersion("Cut.00003.fcp");
    const auto logged = [&] {
        size_t count = 0;
        for (const auto& line : loggedLines()) count += line.starts_with("Dropbox upload failed");
        return count;
    };
    runUploadProcess(version);
    fake.clock.advance(std::chrono::minutes(10));
    runUploadProcess(version);
    EXPECT_THAT(fake.userNotifications.posted(), SizeIs(1));
    EXPECT_EQ(logged(), 2U);
    const auto notice = fake.userNotifications.posted()[0];
    EXPECT_EQ(notice.title, "Dropbox upload failed");
    EXPECT_THAT(notice.description, StartsWith("Dropbox disk quota exceeded.\n\n"));
    EXPECT_EQ(notice.notificationName, "Backup failed");
    EXPECT_EQ(notice.icon, "");
    fake.clock.advance(std::chrono::minutes(20));
    runUploadProcess(version);
    EXPECT_THAT(fake.userNotifications.posted(), SizeIs(1));
    fake.clock.advance(std::chrono::seconds(1));
    runUploadProcess(version);
    EXPECT_THAT(fake.userNotifications.posted(), SizeIs(2));
    EXPECT_EQ(logged(), 4U);
    EXPECT_EQ(Preferences::frontEnd().integer("syncService", 0), 1);
}

TEST_F(CloudMirrorTest, WithoutALinkedAccountThereIsNoClient) {
    ASSERT_FALSE(cloudaccounts::remove());
    EXPECT_EQ(mirror.restClient(), nullptr);
    EXPECT_NE(DBSession::sharedSession(), nullptr);
    mirror.uploadFileToCloud(addVersion("Cut.00003.fcp"));
    mirror.removeSyncedFiles({versions / "Cut.00003.fcp"});
    mirror.loadSyncedFileListForProjectUUID("AAAA");
    mirror.downloadFile({"/AAAA/x"}, Path("/Down/x"));
    EXPECT_THAT(server.requests(), IsEmpty());
    runUploadProcess(versions / "Cut.00003.fcp");
    EXPECT_EQ(terminations, 1);
    EXPECT_THAT(server.requests(), IsEmpty());
    link();
    EXPECT_NE(mirror.restClient(), nullptr);
    EXPECT_EQ(mirror.restClient(), mirror.restClient());
}

TEST_F(CloudMirrorTest, ALetGoClientIsMadeAnew) {
    ASSERT_NE(mirror.restClient(), nullptr);
    mirror.removeRestClient();
    mirror.uploadFileToCloud(addVersion("Cut.00003.fcp"));
    mirror.removeRestClient();
    EXPECT_THAT(namesIn(temp), IsEmpty());
    mirror.uploadFileToCloud(addVersion("Cut.00004.fcp"));
    EXPECT_EQ(next().name, "ZBLarkspanSyncComplete");
    EXPECT_EQ(unpacked("/AAAA/Cut.00004.fcp.zip", "Cut.00004.fcp"), "version");
}

TEST_F(CloudMirrorTest, RemovalsDeleteTheArchivesAndProjects) {
    server.put("/AAAA/a,b 100%.00001.fcp.zip", "x");
    server.put("/AAAA/Cut.00002.fcp.zip", "x");
    server.put("/BBBB/Cut.00001.fcp.zip", "x");
    mirror.removeSyncedFiles({versions / "a,b 100%.00001.fcp", versions / "Cut.00009.fcp"});
    const auto removed = next();
    EXPECT_EQ(removed.name, "ZBLarkspanRemoveRemoteFile");
    EXPECT_EQ(*removed.userInfo.find("filename"), Value("/AAAA/a,b 100%.00001.fcp.zip"));
    const auto failed = next();
    EXPECT_EQ(failed.name, "ZBLarkspanRemoveRemoteFileFailed");
    EXPECT_EQ(*failed.userInfo.find("filename"), Value(""));
    EXPECT_EQ(*failed.userInfo.find("error")->find("code"), Value(404));
    mirror.removeSyncedProjects({Path("/Store/AAAA.localized")});
    EXPECT_EQ(next().name, "ZBLarkspanRemoveRemoteFile");
    EXPECT_THAT(server.paths(), ElementsAre("/BBBB/Cut.00001.fcp.zip"));
    const auto lines = loggedLines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines[0], StartsWith("Removing files from Dropbox: ("));
    EXPECT_THAT(lines[1], StartsWith("Failed to delete Dropbox file: The cloud service answered"));
    EXPECT_THAT(lines[2], StartsWith("Removing projects from Dropbox: ("));
}

TEST_F(CloudMirrorTest, WhatLiesThereIsNeverReplacedNorRemovedForAnother) {
    server.put("/AAAA/Cut.00001.fcp.zip", "the only copy");
    server.put("/AAAA/Cut (2).00001.fcp.zip", "another");
    const Path version = addVersion("Cut.00001.fcp", "numbers began again");
    mirror.uploadFileToCloud(version);
    EXPECT_EQ(next().name, "ZBLarkspanSyncComplete");
    EXPECT_EQ(unpacked("/AAAA/Cut (3).00001.fcp.zip", "Cut.00001.fcp"), "numbers began again");
    EXPECT_EQ(server.content("/AAAA/Cut.00001.fcp.zip"), "the only copy");

    mirror.removeSyncedFiles({version});
    EXPECT_EQ(*next().userInfo.find("filename"), Value("/AAAA/Cut (3).00001.fcp.zip"));
    EXPECT_THAT(server.paths(),
                ElementsAre("/AAAA/Cut (2).00001.fcp.zip", "/AAAA/Cut.00001.fcp.zip"));

    // Of one that never got there nothing is removed either.
    server.failOnce("files/upload", {.status = 507});
    mirror.uploadFileToCloud(version);
    EXPECT_EQ(next().name, "ZBLarkspanSyncFailed");
    mirror.removeSyncedFiles({version});
    EXPECT_EQ(next().name, "ZBLarkspanRemoveRemoteFile");
    EXPECT_THAT(server.paths(), SizeIs(2));
}

TEST_F(CloudMirrorTest, AnUploadThatIsMadeAgainIsNoOther) {
    const Path version = addVersion("Cut.00001.fcp");
    for (int upload = 0; upload < 2; ++upload) {
        mirror.uploadFileToCloud(version);
        EXPECT_EQ(next().name, "ZBLarkspanSyncComplete");
    }
    EXPECT_THAT(server.paths(), ElementsAre("/AAAA/Cut.00001.fcp.zip"));
}

TEST_F(CloudMirrorTest, OfAnUploadThatNeverBeganNothingIsThere) {
    server.put("/AAAA/Cut.00001.fcp.zip", "another's");
    const Path version = addVersion("Cut.00001.fcp");
    becomeProgram("com.corvane.LarkspanHelper");
    {
        CloudMirror helpers;
        helpers.uploadFileToCloud(version);
        helpers.noteRemovals({version});
    }
    becomeProgram(frontEndBundleIdentifier);
    mirror.removeSyncedFiles({version});
    EXPECT_EQ(next().name, "ZBLarkspanRemoveRemoteFile");
    EXPECT_EQ(server.content("/AAAA/Cut.00001.fcp.zip"), "another's");
    EXPECT_THAT(mirrorrecords::removals(), IsEmpty());
}

TEST_F(CloudMirrorTest, ARemovalThatWaitsIsNotThatOfALaterVersionByTheSamePath) {
    const Path version = addVersion("Cut.00001.fcp", "first");
    const auto upload = [&] {
        mirror.uploadFileToCloud(version);
        EXPECT_EQ(next().name, "ZBLarkspanSyncComplete");
    };
    const auto remove = [&] {
        mirror.removeSyncedFiles({version});
        return next().name;
    };
    upload();
    becomeProgram("com.corvane.LarkspanHelper");
    mirror.noteRemovals({version});
    mirror.noteRemovals({version});
    becomeProgram(frontEndBundleIdentifier);
    server.failOnce("files/delete_v2", {.status = 500});
    EXPECT_EQ(remove(), "ZBLarkspanRemoveRemoteFileFailed");

    writeFile(version, "numbers began again");
    upload();
    EXPECT_THAT(server.paths(),
                ElementsAre("/AAAA/Cut (2).00001.fcp.zip", "/AAAA/Cut.00001.fcp.zip"));
    EXPECT_EQ(remove(), "ZBLarkspanRemoveRemoteFile");
    EXPECT_THAT(server.paths(), ElementsAre("/AAAA/Cut (2).00001.fcp.zip"));
    EXPECT_THAT(mirrorrecords::removals(), IsEmpty());
    // An upload that is tried again and fails does not make the copy another's.
    server.failOnce("files/upload", {.status = 507});
    mirror.uploadFileToCloud(version);
    EXPECT_EQ(next().name, "ZBLarkspanSyncFailed");
    EXPECT_EQ(remove(), "ZBLarkspanRemoveRemoteFile");
    EXPECT_THAT(server.paths(), IsEmpty());
    // Of a version that has the content of the one that goes the file stays.
    upload();
    becomeProgram("com.corvane.LarkspanHelper");
    mirror.noteRemovals({version});
    becomeProgram(frontEndBundleIdentifier);
    upload();
    EXPECT_THAT(mirrorrecords::removals(), IsEmpty());
}

TEST_F(CloudMirrorTest, RemovalsAreKeptUntilTheyAreDone) {
    server.put("/AAAA/Cut.00001.fcp.zip", "x");
    server.put("/AAAA/Cut.00002.fcp.zip", "x");
    const std::vector<Path> removed = {versions / "Cut.00001.fcp", versions / "Cut.00002.fcp",
                                       versions / "gone.00001.fcp", versions / "a,b.00001.fcp"};
    becomeProgram("com.corvane.LarkspanHelper");
    {
        CloudMirror helpers;
        helpers.noteRemovals(removed);
    }
    EXPECT_THAT(mirrorrecords::removals(), ElementsAre(removed[0], removed[1], removed[2]));

    becomeProgram(frontEndBundleIdentifier);
    server.failOnce("files/delete_v2", {.status = 500}, 2);
    mirror.removeSyncedFiles({removed[0], removed[1], removed[2]});
    for (int i = 0; i < 3; ++i) (void)next();
    EXPECT_THAT(mirrorrecords::removals(), ElementsAre(removed[1]));
    mirror.removeSyncedFiles(mirrorrecords::removals());
    (void)next();
    EXPECT_THAT(mirrorrecords::removals(), IsEmpty());
    EXPECT_THAT(server.paths(), IsEmpty());
}

TEST_F(CloudMirrorTest, AListingHasThreeParallelArrays) {
    server.put("/AAAA/Cut.00003.fcp.zip", "12345", "2026-01-31T14:03:11Z");
    server.put("/AAAA/Cut.00004.fcp", "1", "2026-02-01T00:00:00Z");
    server.putFolder("/AAAA/folder");
    mirror.loadSyncedFileListForProjectUUID("AAAA");
    const auto told = next();
    EXPECT_EQ(told.name, "ZBLarkspanSyncedFiles");
    EXPECT_EQ(*told.userInfo.find("filenames"), (Value::Array{"Cut.00003.fcp", "Cut.00004"}));
    EXPECT_EQ(*told.userInfo.find("sizes"), (Value::Array{5, 1}));
    EXPECT_EQ(*told.userInfo.find("dates"),
              (Value::Array{dateFromUnixTime(1'769'868'191), dateFromUnixTime(1'769'904'000)}));
    server.putFolder("/EMPTY");
    mirror.loadSyncedFileListForProjectUUID("EMPTY");
    const auto empty = next();
    EXPECT_EQ(empty.name, "ZBLarkspanSyncedFiles");
    EXPECT_EQ(empty.userInfo, Value());
    mirror.loadSyncedFileListForProjectUUID("NONE");
    const auto failed = next();
    EXPECT_EQ(failed.name, "ZBLarkspanMetadataError");
    EXPECT_EQ(*failed.userInfo.find("error")->find("code"), Value(404));
}

TEST_F(CloudMirrorTest, DownloadsTellOfTheirProgressAndEnd) {
    server.put("/AAAA/Cut.00003.fcp.zip", std::string(200'000, 'x'));
    mirror.downloadFile({"/AAAA/Cut.00003.fcp.zip"}, Path("/Down/a.zip"));
    const auto told = next();
    EXPECT_EQ(told.name, "ZBLarkspanFileDownloaded");
    EXPECT_EQ(*told.userInfo.find("filename"), Value("/Down/a.zip"));
    ASSERT_FALSE(progress.empty());
    EXPECT_EQ(progress.back().name, "ZBLarkspanFileDownloadProgress");
    EXPECT_EQ(*progress.back().userInfo.find("filename"), Value("/Down/a.zip"));
    // A failure goes to the console alone; the listing shows when it is through.
    mirror.downloadFile({"/AAAA/none.zip"}, Path("/Down/b.zip"));
    mirror.loadSyncedFileListForProjectUUID("AAAA");
    EXPECT_EQ(next().name, "ZBLarkspanSyncedFiles");
    ASSERT_THAT(fake.console.reported(), SizeIs(1));
    EXPECT_THAT(fake.console.reported()[0], StartsWith("error downloading file: The cloud"));
}

TEST_F(CloudMirrorTest, SwitchedOffItDoesNothing) {
    Value::Dictionary off = syncPreferences();
    const Path version = addVersion("Cut.00003.fcp");
    for (const Value& value : {Value(0), Value(2), Value("no")}) {
        off["syncService"] = value;
        setPreferences(off);
        for (const char* identifier : {frontEndBundleIdentifier, helperBundleIdentifier}) {
            becomeProgram(identifier);
            DBSession::openSharedSessionIfWanted(Preferences::frontEnd());
            mirror.uploadFileToCloud(version);
            mirror.downloadFile({"/AAAA/x"}, Path("/Down/x"));
            mirror.loadSyncedFileListForProjectUUID("AAAA");
            mirror.removeSyncedFiles({version});
            mirror.removeSyncedProjects({Path("/Store/AAAA.localized")});
        }
    }
    fake.mainThread.runPosted();
    EXPECT_EQ(DBSession::sharedSession(), nullptr);
    EXPECT_THAT(server.requests(), IsEmpty());
    EXPECT_THAT(fake.processes.launches(), IsEmpty());
    EXPECT_THAT(posted, IsEmpty());
    EXPECT_THAT(namesIn(temp), IsEmpty());
    EXPECT_THAT(loggedLines(), SizeIs(12));
}

}  // namespace
}  // namespace larkspan
