#include "sync/CloudAnswers.h"
#include "sync/CloudErrors.h"
#include "sync/CloudLink.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

namespace larkspan {
namespace {

TEST(CloudArguments, InHeadersTheyAreAscii) {
    EXPECT_EQ(cloudarguments::path({"/A/Schnitt \"ü\" 100%,\\\x7f.fcp.zip"}),
              R"({"path":"/A/Schnitt \"\u00fc\" 100\u0025,\\\u007f.fcp.zip"})");
    EXPECT_EQ(cloudarguments::path({"/A/\xff\n"}), R"({"path":"/A/\ufffd\n"})");
    EXPECT_EQ(cloudarguments::append("S", 5'000'000'000),
              R"({"cursor":{"offset":5000000000,"session_id":"S"}})");
    EXPECT_EQ(
        cloudarguments::upload({"/A/b"}, std::nullopt),
        R"({"autorename":false,"mode":"add","mute":true,"path":"/A/b","strict_conflict":false})");
    EXPECT_EQ(cloudarguments::upload({"/A/b"}, "rev"),
              R"({"autorename":false,"mode":{".tag":"update","update":"rev"},"mute":true,)"
              R"("path":"/A/b","strict_conflict":false})");
}

TEST(CloudArguments, FormsEncodeWhatSeparates) {
    EXPECT_EQ(cloudarguments::form({{"code", "a b&c=d%\xc3\xbc"}, {"x", ""}}).text(),
              "code=a%20b%26c%3Dd%25%C3%BC&x=");
}

TEST(CloudAnswers, AFileAndAFolder) {
    const auto file = cloudanswers::metadata(
        R"({".tag":"file","name":"a","path_display":"/P/a","size":5000000000,
            "server_modified":"2026-01-31T14:03:11Z"})");
    ASSERT_TRUE(file);
    EXPECT_EQ(file->path.text, "/P/a");
    EXPECT_EQ(file->totalBytes, 5'000'000'000U);
    EXPECT_EQ(unixSeconds(file->lastModifiedDate), 1'769'868'191);
    EXPECT_FALSE(file->isDirectory);
    const auto folder = cloudanswers::metadata(R"({".tag":"folder","name":"P"})");
    ASSERT_TRUE(folder);
    EXPECT_TRUE(folder->isDirectory);
    EXPECT_EQ(folder->path.text, "/P");
}

TEST(CloudAnswers, WhatCannotBeReadIsAnErrorAndNothingElse) {
    const std::string good =
        R"({".tag":"file","name":"a","size":1,"server_modified":"2026-01-31T14:03:11Z"})";
    ASSERT_TRUE(cloudanswers::metadata(good));
    const auto with = [&](const std::string& what, const std::string& instead) {
        std::string changed = good;
        return changed.replace(changed.find(what), what.size(), instead);
    };
    const std::string bodies[] = {"",
                                  "null",
                                  "[]",
                                  "{",
                                  "<html>",
                                  "\xff\xfe",
                                  std::string(100'000, '['),
                                  with("\"a\"", "\"\""),
                                  with("\"a\"", "7"),
                                  with(":1,", ":-1,"),
                                  with(":1,", ":1.5,"),
                                  with(":1,", ":99999999999999999999999,"),
                                  with("2026-01-31", "2026-02-30"),
                                  with("2026-01-31", "+026-01-31"),
                                  with("14:03:11Z", "14:03:11"),
                                  with("2026-01-31T", "2026-01-31 "),
                                  with("14:03", "1x:03")};
    for (const std::string& body : bodies) {
        const auto metadata = cloudanswers::metadata(body);
        ASSERT_FALSE(metadata) << body;
        EXPECT_TRUE(metadata.error().is(urlErrorDomain, urlerror::badServerResponse));
        EXPECT_FALSE(cloudanswers::listedPage(body)) << body;
        EXPECT_FALSE(cloudanswers::sessionId(body)) << body;
        EXPECT_FALSE(cloudanswers::token(std::string(body))) << body;
    }
    EXPECT_FALSE(cloudanswers::listedPage(R"({"entries":[7],"cursor":"c","has_more":false})"));
    EXPECT_FALSE(cloudanswers::listedPage(R"({"entries":[],"cursor":"","has_more":true})"));
    EXPECT_FALSE(cloudanswers::listedPage(R"({"entries":{},"cursor":"c","has_more":false})"));
    EXPECT_TRUE(cloudanswers::listedPage(R"({"entries":[],"has_more":false})"));
}

TEST(CloudAnswers, SeedsAreReadOrRefusedWholeAndTorn) {
    size_t seeds = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(LARKSPAN_SOURCE_DIR "/fuzz/seeds/cloud-answers")) {
        std::ifstream in(entry.path());
        const std::string bytes{std::istreambuf_iterator<char>(in), {}};
        ASSERT_FALSE(bytes.empty());
        for (size_t length = 0; length <= bytes.size(); ++length) {
            const std::string torn = bytes.substr(0, length);
            (void)cloudanswers::metadata(torn);
            (void)cloudanswers::listedPage(torn);
            (void)cloudanswers::token(std::string(torn));
            EXPECT_EQ(cloudanswers::failure({.status = 400, .headers = {}, .body = torn}).code,
                      400);
        }
        const std::string name = entry.path().filename().string();
        EXPECT_EQ(static_cast<bool>(cloudanswers::metadata(bytes)), name == "metadata.json");
        EXPECT_EQ(static_cast<bool>(cloudanswers::listedPage(bytes)), name == "page.json");
        EXPECT_EQ(static_cast<bool>(cloudanswers::token(std::string(bytes))), name == "token.json");
        ++seeds;
    }
    EXPECT_GE(seeds, 4U);
}

TEST(CloudAnswers, WhatTheServiceSaysInOtherWordsGetsTheStatusThatCallersKnow) {
    struct Case {
        long status;
        const char* body;
        long code;
    };
    const Case cases[] = {
        {409, R"({"error_summary":"path/insufficient_space/.."})", 507},
        {409, R"({"error_summary":"path/too_many_write_operations/."})", 503},
        {409, R"({"error_summary":"path_lookup/not_found/."})", 404},
        {409, R"({"error_summary":"path/conflict/file/."})", 409},
        {409, "rubbish", 409},
        {429, "", 503},
        {507, "", 507},
        {401, R"({"error_summary":"path/insufficient_space"})", 401},
        {302, "", 302},
    };
    for (const Case& c : cases) {
        const Error error =
            cloudanswers::failure({.status = c.status, .headers = {}, .body = c.body});
        EXPECT_TRUE(error.is(cloudErrorDomain, c.code)) << c.status << c.body << error.code;
    }
}

TEST(CloudAnswers, FailuresTellTheReasonAndTheWait) {
    EXPECT_EQ(cloudanswers::failure({.status = 429,
                                     .headers = {{"retry-after", "30"}},
                                     .body = R"({"error_summary":"too_many_requests/\n.."})"})
                  .description,
              "The cloud service answered with status 429 (too_many_requests/ ). It asks to wait "
              "for 30 seconds.");
    EXPECT_EQ(cloudanswers::failure({.status = 500,
                                     .headers = {{"retry-after", "soon"}},
                                     .body = R"({"error_summary":)" + std::string(300, 'x')})
                  .description,
              "The cloud service answered with status 500.");
}

TEST(CloudLink, TheChallengeIsTheOneOfTheStandard) {
    EXPECT_EQ(challengeOf("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"),
              "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");
}

TEST(CloudAnswers, WhatIsNestedAsNoAnswerIsIsNotRead) {
    constexpr size_t size = size_t{16} << 20;
    EXPECT_FALSE(cloudanswers::metadata(std::string(size, '[')));
    EXPECT_FALSE(cloudanswers::sessionId("{\"session_id\":" + std::string(100, '{')));
    const auto named = cloudanswers::sessionId(R"({"session_id":"[[\"{{"})");
    ASSERT_TRUE(named);
    EXPECT_EQ(*named, "[[\"{{");
}

TEST(CloudAnswers, ATokenWithALineBreakIsRefused) {
    EXPECT_TRUE(cloudanswers::token(R"({"access_token":"good"})"));
    EXPECT_FALSE(cloudanswers::token(R"({"access_token":"good\r\nX-More: header"})"));
}

}  // namespace
}  // namespace larkspan
