#include "frontend/CloudAccess.h"
#include "frontend/CloudDownload.h"
#include "frontend/FrontEndTest.h"
#include "support/CloudServer.h"
#include "support/RawServer.h"
#include "sync/CloudAccount.h"
#include "sync/curl/CurlClient.h"

#include <thread>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::AllOf;
using testing::CloudServer;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* lostProject = "0F7AB7F6-AAAA-4BBB-8CCC-123456789ABC";

class SyncTest : public testing::FrontEndTest {
  protected:
    SyncTest() {
        HttpClient::choose(CurlClient::make);
        fake.files.addFolder(fake.places.temporary);
        prefer(1, server.address());
        addProject("AAAA", "/Work/Film/Cut.fcp");
    }
    ~SyncTest() override { DBSession::setSharedSession(nullptr); }

    void prefer(long service, const std::string& contentAddress) {
        setPreferences({{"storagePath", "/Store"},
                        {"syncService", service},
                        {"syncAPIAddress", server.address()},
                        {"syncContentAddress", contentAddress},
                        {"syncWebAddress", server.address()}});
    }
    static void link() {
        ASSERT_FALSE(cloudaccounts::save(
            {CloudServer::userId, Secret(std::string(CloudServer::refreshToken))}));
    }
    // A version in the store, which is then uploaded.
    Path upload(const std::string& name, const std::string& content) {
        addVersion("AAAA", name, fake.clock.now(), content);
        Path version = Path("/Store/AAAA.localized/Versions") / name;
        const auto outcome = run({"-upload", version.str()});
        EXPECT_EQ(outcome.status, ExitStatus::done) << outcome.messages;
        return version;
    }
    CloudServer server;
};

TEST_F(SyncTest, LinkingShowsAnAddressAndTakesTheCode) {
    const auto without = run({"sync", "link"});
    EXPECT_EQ(without.status, ExitStatus::failed);
    EXPECT_THAT(without.messages, HasSubstr("No code was given"));
    std::string code;
    typed = [&](const std::string& shown) {
        const size_t at = shown.find("http");
        code = server.authorize(shown.substr(at, shown.find('\n', at) - at));
        return std::optional(" " + code + " ");
    };
    const auto linked = run({"sync", "link"});
    EXPECT_EQ(linked.status, ExitStatus::done) << linked.messages;
    EXPECT_EQ(cloudaccounts::load()->userId, CloudServer::userId);
    for (const std::string& secret : {code, std::string(CloudServer::refreshToken)}) {
        EXPECT_THAT(linked.output + linked.messages, Not(HasSubstr(secret)));
    }
}

TEST_F(SyncTest, ACodeOfAnotherLinkIsRefused) {
    typed = [&](const std::string&) { return std::optional<std::string>("code-1"); };
    const auto wrong = run({"sync", "link"});
    EXPECT_EQ(wrong.status, ExitStatus::failed);
    EXPECT_THAT(wrong.messages, AllOf(HasSubstr("could not be linked"), Not(HasSubstr("code-1"))));
    EXPECT_FALSE(cloudaccounts::load());
}

TEST_F(SyncTest, StatusAndUnlink) {
    EXPECT_THAT(run({"sync", "status"}).output, HasSubstr("none linked"));
    EXPECT_EQ(run({"sync", "unlink"}).status, ExitStatus::failed);
    link();
    EXPECT_EQ(run({"sync", "status", "--json"}).output, R"({
  "account": "dbid:editor",
  "linked": true,
  "on": true
}
)");
    EXPECT_EQ(run({"sync", "unlink"}).status, ExitStatus::done);
    EXPECT_TRUE(server.isRevoked());
    EXPECT_FALSE(cloudaccounts::load());
    link();
    server.forgetAccount();
    const auto alone = run({"sync", "unlink"});
    EXPECT_EQ(alone.status, ExitStatus::done);
    EXPECT_THAT(alone.messages, HasSubstr("could not be told"));
    EXPECT_FALSE(cloudaccounts::load());
}

TEST_F(SyncTest, SwitchedOffNothingSpeaksWithTheService) {
    prefer(0, server.address());
    link();
    const std::vector<std::vector<std::string>> commands{
        {"sync", "link"},
        {"sync", "status"},
        {"sync", "list", "Cut"},
        {"sync", "download", "Cut", "1"},
        {"-upload", "/Store/AAAA.localized/Versions/Cut.00001.fcp"},
        {"-removeRemote", "/Store/AAAA.localized/Versions/Cut.00001.fcp"},
        {"sync", "unlink"}};
    for (const auto& command : commands) (void)run(command);
    EXPECT_THAT(server.requests(), IsEmpty());
    EXPECT_EQ(DBSession::sharedSession(), nullptr);
    EXPECT_THAT(fake.processes.launches(), IsEmpty());
}

TEST_F(SyncTest, VersionsGoUpAreListedAndComeBackAsTheyWere) {
    link();
    for (const char* name :
         {"My Cut, 1.00001.fcp", "Schnitt \xc3\xbc.00002.fcp", "100%.00003.fcp"}) {
        upload(name, std::string("content of ") + name);
    }
    const auto listed = run({"sync", "list", "Cut.fcp"});
    EXPECT_THAT(listed.output, AllOf(HasSubstr("My Cut, 1.00001.fcp "), HasSubstr("2026-02-03")));
    EXPECT_THAT(run({"sync", "list", "AAAA", "--json"}).output,
                HasSubstr("\"path\": \"/AAAA/100%.00003.fcp.zip\""));
    const auto byNumber = run({"sync", "download", "Cut", "3"});
    EXPECT_EQ(byNumber.output, "/Work/100%.00003.fcp\n") << byNumber.messages;
    EXPECT_EQ(contentOf(Path("/Work/100%.00003.fcp")), "content of 100%.00003.fcp");
    ASSERT_EQ(run({"sync", "download", "Cut", "Schnitt \xc3\xbc.00002.fcp", "--to", "Film"}).status,
              ExitStatus::done);
    EXPECT_EQ(contentOf(Path("/Work/Film/Schnitt \xc3\xbc.00002.fcp")),
              "content of Schnitt \xc3\xbc.00002.fcp");
    ASSERT_EQ(run({"sync", "download", "Cut", "1", "--to", "/Work/Film/new.fcp"}).status,
              ExitStatus::done);
    EXPECT_EQ(contentOf(Path("/Work/Film/new.fcp")), "content of My Cut, 1.00001.fcp");
    EXPECT_THAT(namesIn(Path("/Work/Film")),
                ElementsAre("Cut.fcp", "new.fcp", "Schnitt \xc3\xbc.00002.fcp"));
    EXPECT_THAT(namesIn(fake.places.temporary), IsEmpty());
}

TEST_F(SyncTest, AVersionThatIsAFolderComesBackAsAFolder) {
    link();
    addVersion("AAAA", "Lib.00001.fcpbundle/a", fake.clock.now(), "one");
    addVersion("AAAA", "Lib.00001.fcpbundle/b/c", fake.clock.now(), "two");
    ASSERT_EQ(run({"-upload", "/Store/AAAA.localized/Versions/Lib.00001.fcpbundle"}).status,
              ExitStatus::done);
    ASSERT_EQ(run({"sync", "download", "AAAA", "1"}).output, "/Work/Lib.00001.fcpbundle\n");
    EXPECT_EQ(contentOf(Path("/Work/Lib.00001.fcpbundle/a")), "one");
    EXPECT_EQ(contentOf(Path("/Work/Lib.00001.fcpbundle/b/c")), "two");
}

TEST_F(SyncTest, ADownloadOverwritesNothingAndLeavesNoParts) {
    link();
    upload("Cut.00001.fcp", "version");
    server.put("/AAAA/Cut.00002.fcp.zip", "no archive");
    server.put("/AAAA/Other.00002.fcp", "as it is");
    fake.files.addFile(Path("/Work/Cut.00001.fcp"), "mine");
    const std::vector<std::pair<std::vector<std::string>, const char*>> cases{
        {{"1"}, "exists already"},
        {{"1", "--to", "/Work/Film/Cut.fcp"}, "exists already"},
        {{"1", "--to", "/Nowhere/x"}, "There is no folder /Nowhere"},
        {{"2"}, "several versions 2"},
        {{"Cut.00002.fcp"}, "could not be downloaded"},
        {{"9"}, "no version 9"},
        {{"Cut"}, "no version Cut"},
    };
    for (const auto& [words, message] : cases) {
        std::vector<std::string> command{"sync", "download", "AAAA"};
        command.insert(command.end(), words.begin(), words.end());
        const auto outcome = run(command);
        EXPECT_EQ(outcome.status, ExitStatus::failed);
        EXPECT_THAT(outcome.messages, HasSubstr(message));
    }
    EXPECT_EQ(contentOf(Path("/Work/Cut.00001.fcp")), "mine");
    EXPECT_THAT(namesIn(Path("/Work")), ElementsAre("Cut.00001.fcp", "Film"));
    EXPECT_EQ(run({"sync", "download", "AAAA", "Other.00002.fcp"}).status, ExitStatus::done);
    EXPECT_EQ(contentOf(Path("/Work/Other.00002.fcp")), "as it is");
}

TEST_F(SyncTest, AProjectThatIsNotInTheStoreIsNamedByItsIdentifier) {
    link();
    server.put(std::string("/") + lostProject + "/Cut.00001.fcp", "kept");
    const auto listed = run({"sync", "list", "0f7ab7f6-aaaa-4bbb-8ccc-123456789abc"});
    EXPECT_THAT(listed.output, HasSubstr("Cut.00001.fcp"));
    EXPECT_THAT(run({"sync", "list", "AAAA"}).messages, HasSubstr("There is no version"));
    EXPECT_EQ(run({"sync", "list", "Nonsense"}).status, ExitStatus::failed);
    ASSERT_FALSE(cloudaccounts::remove());
    EXPECT_THAT(run({"sync", "list", "AAAA"}).messages, HasSubstr("No Dropbox account is linked"));
}

TEST_F(SyncTest, RemovalsEndWhenAllHaveBeenAnswered) {
    link();
    const Path one = upload("Cut.00001.fcp", "1");
    const Path two = upload("Cut.00002.fcp", "2");
    EXPECT_EQ(run({"-removeRemote", one.str() + "," + two.str()}).status, ExitStatus::done);
    EXPECT_THAT(server.paths(), IsEmpty());
    const auto again = run({"-removeRemote", one.str() + ",/a/b/c/with,comma"});
    EXPECT_EQ(again.status, ExitStatus::failed);
    EXPECT_THAT(again.messages, HasSubstr("3 files in the cloud could not be removed"));
}

TEST_F(SyncTest, AFailedUploadSaysWhy) {
    link();
    server.failAlways("files/upload", {.status = 507});
    addVersion("AAAA", "Cut.00001.fcp", fake.clock.now());
    const auto outcome = run({"-upload", "/Store/AAAA.localized/Versions/Cut.00001.fcp"});
    EXPECT_EQ(outcome.status, ExitStatus::failed);
    EXPECT_THAT(outcome.messages, HasSubstr("Dropbox disk quota exceeded."));
    ASSERT_FALSE(cloudaccounts::remove());
    EXPECT_THAT(run({"-upload", "/Store/AAAA.localized/Versions/Cut.00001.fcp"}).messages,
                HasSubstr("No Dropbox account is linked"));
    EXPECT_THAT(run({"sync", "status", "--json"}).output, HasSubstr("\"lastError\": "));
}

TEST_F(SyncTest, AnInterruptedUploadLeavesNothing) {
    link();
    testing::RawServer silent({.readBytes = 100, .holds = true});
    prefer(1, "http://" + silent.host());
    addVersion("AAAA", "Cut.00001.fcp", fake.clock.now());
    std::thread user([&] {
        silent.waitUntilHeld();
        fake.mainThread.post([&] { askToEnd(); });
    });
    const auto outcome = run({"-upload", "/Store/AAAA.localized/Versions/Cut.00001.fcp"});
    user.join();
    EXPECT_EQ(outcome.status, ExitStatus::failed);
    EXPECT_THAT(outcome.messages, HasSubstr("interrupted"));
    EXPECT_THAT(namesIn(fake.places.temporary), IsEmpty());
}

TEST_F(SyncTest, ProgressIsForTerminalsAndTheDock) {
    link();
    EXPECT_EQ(progressText("Uploading a\nb", 0.5), "Uploading a b  [##########----------]  50%");
    addVersion("AAAA", "Cut.00001.fcp", fake.clock.now(), std::string(300'000, 'x'));
    const std::vector<std::string> command{"-upload",
                                           "/Store/AAAA.localized/Versions/Cut.00001.fcp"};
    EXPECT_THAT(run(command).messages, IsEmpty());
    ASSERT_FALSE(fake.dockTile.shown().empty());
    EXPECT_EQ(fake.dockTile.shown().back(), std::nullopt);
    isTerminal = true;
    const auto shown = run(command);
    EXPECT_THAT(shown.messages,
                AllOf(HasSubstr("Uploading Cut.00001.fcp  [####################]  100%"),
                      ::testing::EndsWith("\r\x1b[K")));
    EXPECT_THAT(run({"sync", "download", "AAAA", "1"}).messages,
                HasSubstr("Downloading Cut.00001.fcp  [####################]  100%"));
}

}  // namespace
}  // namespace larkspan
