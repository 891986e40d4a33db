#include "support/CloudTest.h"
#include "sync/CloudErrors.h"

#include <cerrno>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using testing::ignoreProgress;
using ::testing::IsEmpty;

class CloudServiceTest : public testing::CloudTest {
  protected:
    CloudServiceTest() {
        link();
        ZBLog::createNewLog();
    }
    Result<DBMetadata> upload(const std::string& content, const RemotePath& target = {"/P/a.zip"}) {
        writeFile(Path("/Temp/a.zip"), content);
        (void)service().deletePath(target);  // nothing is replaced
        return service().uploadFile(Path("/Temp/a.zip"), target, std::nullopt,
                                    [this](double done) { told.push_back(done); });
    }
    std::vector<double> told;
};

TEST_F(CloudServiceTest, UploadsAFileInOneRequest) {
    const auto stored = upload("content");
    ASSERT_TRUE(stored) << stored.error().description;
    EXPECT_EQ(stored->totalBytes, 7U);
    EXPECT_EQ(server.content("/P/a.zip"), "content");
    EXPECT_THAT(server.requests(),
                ElementsAre("oauth2/token", "files/delete_v2", "oauth2/token", "files/upload"));
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.back(), 1.0);
    ASSERT_TRUE(upload(""));
    EXPECT_EQ(server.content("/P/a.zip"), "");
}

TEST_F(CloudServiceTest, NamesOfEveryKindComeBackAsTheyWere) {
    for (const char* name :
         {"/P/My Cut 1.00003.fcp.zip", "/P/Schnitt \xc3\xa4\xe6\x98\xa0.zip", "/P/100%20.zip",
          "/P/a,b,c.zip", "/P/q\"uo\\te'.zip", "/P/#?&=+.zip", "/P/\xf0\x9f\x8e\xac.zip"}) {
        ASSERT_TRUE(upload(name, {name})) << name;
        EXPECT_EQ(server.content(name), name);
        const auto listed = service().listFolder({"/P"});
        ASSERT_TRUE(listed);
        ASSERT_EQ(listed->contents.size(), 1U) << name;
        EXPECT_EQ(listed->contents[0].path.text, name);
        ASSERT_FALSE(service().downloadFile({name}, Path("/Down") / "x", ignoreProgress)) << name;
        EXPECT_EQ(contentOf(Path("/Down/x")), name);
        ASSERT_FALSE(fake.files.removeItem(Path("/Down/x")));
        ASSERT_FALSE(service().deletePath({name}));
        EXPECT_THAT(server.paths(), IsEmpty());
    }
}

TEST_F(CloudServiceTest, AListingWithoutEndIsAnError) {
    server.put("/P/a.zip", "a");
    server.listWithoutEnd();
    const auto listed = service().listFolder({"/P"});
    ASSERT_FALSE(listed);
    EXPECT_THAT(listed.error().description, ::testing::HasSubstr("has no end"));
}

TEST_F(CloudServiceTest, LargeFilesGoInChunks) {
    settings.largestSingleUpload = 10;
    settings.chunkSize = 4;
    struct Case {
        std::string content;
        std::vector<std::uint64_t> pieces;
    };
    std::vector<std::uint64_t> all;
    for (const Case& c : {Case{"0123456789", {}}, Case{"0123456789a", {4, 4, 3}},
                          Case{"0123456789ab", {4, 4, 4}}, Case{"0123456789abc", {4, 4, 4, 1}}}) {
        told.clear();
        const auto stored = upload(c.content);
        ASSERT_TRUE(stored) << stored.error().description;
        EXPECT_EQ(server.content("/P/a.zip"), c.content);
        all.insert(all.end(), c.pieces.begin(), c.pieces.end());
        EXPECT_EQ(server.pieceSizes(), all);
        EXPECT_TRUE(std::ranges::is_sorted(told));
        EXPECT_EQ(told.back(), 1.0);
    }
    settings.chunkSize = 100;
    ASSERT_TRUE(upload("0123456789abcdef"));
    EXPECT_EQ(server.content("/P/a.zip"), "0123456789abcdef");
}

TEST_F(CloudServiceTest, ATakenNameIsToldFromOtherFailures) {
    writeFile(Path("/Temp/a.zip"), "0123456789");
    server.put("/P/a.zip", "other");
    for (const std::uint64_t largestSingleUpload : {10U, 4U}) {
        settings.largestSingleUpload = largestSingleUpload;
        settings.chunkSize = 4;
        const auto upload = [&] {
            return service().uploadFile(Path("/Temp/a.zip"), {"/P/a.zip"}, std::nullopt,
                                        ignoreProgress);
        };
        const auto taken = upload();
        ASSERT_FALSE(taken);
        EXPECT_TRUE(isNameTaken(taken.error())) << taken.error().description;
        EXPECT_EQ(server.content("/P/a.zip"), "other");
        server.failOnce(largestSingleUpload == 4 ? "files/upload_session/finish" : "files/upload",
                        {.status = 500});
        const auto failed = upload();
        ASSERT_FALSE(failed);
        EXPECT_FALSE(isNameTaken(failed.error()));
    }
}

TEST_F(CloudServiceTest, AnAccessTokenThatRanOutIsReplacedOnce) {
    CloudService kept = service();
    ASSERT_TRUE(upload("one"));
    ASSERT_FALSE(kept.deletePath({"/P/a.zip"}));
    ASSERT_TRUE(upload("two"));
    server.expireAccessTokens();
    ASSERT_FALSE(kept.deletePath({"/P/a.zip"}));
    server.failAlways("files/delete_v2", {.status = 401});
    const size_t before = server.requestCount("files/delete_v2");
    const auto refused = kept.deletePath({"/P/a.zip"});
    ASSERT_TRUE(refused);
    EXPECT_TRUE(refused->is(cloudErrorDomain, 401));
    EXPECT_EQ(server.requestCount("files/delete_v2"), before + 2);
}

TEST_F(CloudServiceTest, TheBodyIsSentAnewWithTheNewToken) {
    server.failOnce("files/upload", {.status = 401});
    ASSERT_TRUE(upload("content"));
    EXPECT_EQ(server.content("/P/a.zip"), "content");
}

TEST_F(CloudServiceTest, AnEndedLinkAsksForANewOne) {
    server.forgetAccount();
    const auto refused = upload("content");
    ASSERT_FALSE(refused);
    EXPECT_TRUE(refused.error().is(urlErrorDomain, -1013));
    ASSERT_FALSE(cloudaccounts::remove());
    const auto unlinked = upload("content");
    ASSERT_FALSE(unlinked);
    EXPECT_TRUE(unlinked.error().is(cloudErrorDomain, 401));
    EXPECT_EQ(server.requestCount("files/upload"), 0U);
}

TEST_F(CloudServiceTest, ListsAllPagesOfAFolderAndNothingBelow) {
    for (int i = 0; i < 7; ++i) server.put("/P/" + std::to_string(i) + ".zip", "x");
    server.put("/P/sub/deep.zip", "x");
    server.put("/Q/other.zip", "x");
    server.putFolder("/P/sub");
    server.setPageSize(3);
    const auto listed = service().listFolder({"/P"});
    ASSERT_TRUE(listed) << listed.error().description;
    EXPECT_TRUE(listed->isDirectory);
    EXPECT_EQ(listed->contents.size(), 8U);
    EXPECT_TRUE(listed->contents.back().isDirectory);
    EXPECT_EQ(server.requestCount("files/list_folder/continue"), 2U);
    const auto missing = service().listFolder({"/Nowhere"});
    ASSERT_FALSE(missing);
    EXPECT_TRUE(missing.error().is(cloudErrorDomain, 404));
}

TEST_F(CloudServiceTest, ADownloadNeverReplacesAndNeverLeavesAPart) {
    server.put("/P/a.zip", std::string(100'000, 'a'));
    writeFile(Path("/Down/there"), "mine");
    const auto taken = service().downloadFile({"/P/a.zip"}, Path("/Down/there"), ignoreProgress);
    ASSERT_TRUE(taken);
    EXPECT_TRUE(taken->is(posixErrorDomain, EEXIST));
    EXPECT_EQ(contentOf(Path("/Down/there")), "mine");
    EXPECT_EQ(server.requestCount("files/download"), 0U);

    server.failOnce("files/download", {.cut = true});
    const auto cut = service().downloadFile({"/P/a.zip"}, Path("/Down/a.zip"), ignoreProgress);
    ASSERT_TRUE(cut);
    EXPECT_TRUE(cut->is(urlErrorDomain, -1005)) << cut->description;

    server.failOnce("files/download", {.wrongLength = true});
    const auto wrong = service().downloadFile({"/P/a.zip"}, Path("/Down/a.zip"), ignoreProgress);
    ASSERT_TRUE(wrong);
    EXPECT_TRUE(wrong->is(urlErrorDomain, -1005));

    const auto missing = service().downloadFile({"/P/b.zip"}, Path("/Down/b.zip"), ignoreProgress);
    ASSERT_TRUE(missing);
    EXPECT_TRUE(missing->is(cloudErrorDomain, 404));
    EXPECT_THAT(namesIn(Path("/Down")), ElementsAre("there"));

    ASSERT_FALSE(service().downloadFile({"/P/a.zip"}, Path("/Down/a.zip"), ignoreProgress));
    EXPECT_EQ(contentOf(Path("/Down/a.zip")).size(), 100'000U);
    EXPECT_THAT(namesIn(Path("/Down")), ElementsAre("a.zip", "there"));
}

TEST_F(CloudServiceTest, ADiskThatFillsUpEndsTheDownload) {
    server.put("/P/a.zip", "content");
    fake.faults.refuseCall(platform::FileOperation::moveItem, 1, ENOSPC);
    const auto error = service().downloadFile({"/P/a.zip"}, Path("/Down/a.zip"), ignoreProgress);
    ASSERT_TRUE(error);
    EXPECT_TRUE(error->is(posixErrorDomain, ENOSPC));
    EXPECT_THAT(namesIn(Path("/Down")), IsEmpty());
}

TEST_F(CloudServiceTest, EveryFailureOfAnUploadHasItsCode) {
    struct Case {
        testing::CloudFault fault;
        const char* domain;
        long code;
    };
    const std::string full = R"({"error_summary":"path/insufficient_space/."})";
    const std::vector<Case> cases{
        {{.status = 507}, cloudErrorDomain, 507},
        {{.status = 409, .body = full}, cloudErrorDomain, 507},
        {{.status = 503}, cloudErrorDomain, 503},
        {{.status = 429, .headers = {{"Retry-After", "7"}}}, cloudErrorDomain, 503},
        {{.status = 401}, cloudErrorDomain, 401},
        {{.status = 403}, cloudErrorDomain, 403},
        {{.status = 500}, cloudErrorDomain, 500},
        {{.status = 599}, cloudErrorDomain, 599},
        {{.status = 404}, cloudErrorDomain, 404},
        {{.status = 302, .headers = {{"Location", server.address() + "/elsewhere"}}},
         cloudErrorDomain,
         302},
        {{.rubbish = true}, urlErrorDomain, -1011},
        {{.wrongLength = true}, urlErrorDomain, -1011},
        {{.cut = true}, urlErrorDomain, -1005},
    };
    for (const Case& c : cases) {
        server.failAlways("files/upload", c.fault);
        const auto stored = upload("content");
        ASSERT_FALSE(stored) << c.code;
        EXPECT_TRUE(stored.error().is(c.domain, c.code))
            << c.code << " but " << stored.error().domain << stored.error().code;
    }
    EXPECT_EQ(server.requestCount("elsewhere"), 0U);
}

TEST_F(CloudServiceTest, AFailureOfAnyPieceEndsTheUpload) {
    settings.largestSingleUpload = 1;
    settings.chunkSize = 4;
    for (const char* operation : {"start", "append_v2", "finish"}) {
        server.failOnce(std::string("files/upload_session/") + operation, {.status = 500});
        const auto stored = upload("0123456789");
        ASSERT_FALSE(stored);
        EXPECT_TRUE(stored.error().is(cloudErrorDomain, 500)) << operation;
    }
    EXPECT_THAT(server.paths(), IsEmpty());
}

TEST_F(CloudServiceTest, AFileThatCannotBeReadIsItsOwnError) {
    const auto missing =
        service().uploadFile(Path("/Temp/none"), {"/P/a"}, std::nullopt, ignoreProgress);
    ASSERT_FALSE(missing);
    EXPECT_TRUE(missing.error().is(posixErrorDomain, ENOENT));
    fake.streams.plan(platform::StreamFault::failedRead, Path("/Temp/a.zip"), 1);
    const auto torn = upload("content");
    ASSERT_FALSE(torn);
    EXPECT_TRUE(torn.error().is(posixErrorDomain, EIO));
}

TEST_F(CloudServiceTest, NoTokenIsInAnyError) {
    server.failAlways("files/delete_v2",
                      {.status = 400, .body = R"({"error_summary":"who is access-token-1?"})"});
    const auto error = service().deletePath({"/P"});
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description, "The cloud service answered with status 400 (who is (token)?).");
    server.failAlways(
        "oauth2/token",
        {.status = 400, .body = R"({"error":"who is refresh-token-of-the-editor?"})"});
    const auto refused = service().deletePath({"/P"});
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->description,
              "The cloud service answered with status 400 (who is (token)?).");
    EXPECT_THAT(loggedLines(), IsEmpty());
}

TEST_F(CloudServiceTest, NothingIsSentInTheClearToOtherMachines) {
    settings.contentAddress = "http://cloud.test";
    const auto error = upload("content");
    ASSERT_FALSE(error);
    EXPECT_TRUE(error.error().is(urlErrorDomain, urlerror::badAddress));
    settings.apiAddress = "http://cloud.test";
    EXPECT_TRUE(service().deletePath({"/P"})->is(urlErrorDomain, urlerror::badAddress));
}

TEST_F(CloudServiceTest, RevokingTellsTheService) {
    EXPECT_FALSE(service().revoke());
    EXPECT_TRUE(server.isRevoked());
}

}  // namespace
}  // namespace larkspan
