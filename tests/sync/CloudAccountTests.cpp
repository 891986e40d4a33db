#include "platform/linux/LinuxPlatform.h"
#include "support/CloudTest.h"
#include "support/TemporaryFolder.h"
#include "sync/CloudAccount.h"
#include "sync/CloudErrors.h"
#include "sync/CloudLink.h"

#include <cerrno>

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace larkspan {
namespace {

using testing::CloudServer;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class CloudAccountTest : public testing::CloudTest {};

TEST_F(CloudAccountTest, IsWhatWasSavedLast) {
    EXPECT_FALSE(cloudaccounts::load());
    EXPECT_THAT(DBSession::userIds(), IsEmpty());
    link();
    EXPECT_THAT(DBSession::userIds(), ElementsAre(CloudServer::userId));
    ASSERT_FALSE(cloudaccounts::save({"other", Secret(std::string("t&<>"))}));
    const auto account = cloudaccounts::load();
    ASSERT_TRUE(account);
    EXPECT_EQ(account->userId, "other");
    EXPECT_EQ(account->refreshToken.text(), "t&<>");
    EXPECT_FALSE(cloudaccounts::remove());
    EXPECT_FALSE(cloudaccounts::load());
    EXPECT_FALSE(cloudaccounts::remove());
}

TEST_F(CloudAccountTest, ATornFileIsNoAccountAndIsToldWithoutItsContent) {
    ZBLog::createNewLog();
    writeFile(*cloudaccounts::file(), "<plist><dict><key>refreshToken</key><string>hush");
    EXPECT_FALSE(cloudaccounts::load());
    const auto lines = loggedLines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_THAT(lines[0], HasSubstr("CloudAccount.plist"));
    EXPECT_THAT(lines[0], Not(HasSubstr("hush")));
}

TEST_F(CloudAccountTest, AFullDiskLeavesNoToken) {
    fake.faults.refuseCall(platform::FileOperation::writeFileAtomically, 2, ENOSPC);
    EXPECT_TRUE(cloudaccounts::save({"user", Secret(std::string("token"))}));
    EXPECT_FALSE(cloudaccounts::load());
}

TEST(CloudAccountFile, NobodyElseCanReadIt) {
    const testing::TemporaryFolder home;
    ASSERT_EQ(::setenv("XDG_DATA_HOME", home.path().c_str(), 1), 0);
    {
        platform::LinuxPlatform system;
        const platform::ScopedPlatform installed(system.platform());
        const auto modeOf = [](const Path& path) {
            struct stat status {};
            return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 0777U : 0U;
        };
        ASSERT_FALSE(cloudaccounts::save({"user", Secret(std::string("token"))}));
        const Path file = *cloudaccounts::file();
        ASSERT_TRUE(file.isWithin(home.path())) << file;
        EXPECT_EQ(modeOf(file), 0600U);
        ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
        EXPECT_TRUE(cloudaccounts::load());
        EXPECT_EQ(modeOf(file), 0600U);
        ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
        ASSERT_FALSE(cloudaccounts::save({"user", Secret(std::string("other"))}));
        EXPECT_EQ(modeOf(file), 0600U);
        ZBLog::discardSharedController();
    }
    ::unsetenv("XDG_DATA_HOME");
}

TEST_F(CloudAccountTest, LinkingTakesTheCodeThatThePersonBringsBack) {
    const CloudLink one(session, settings);
    const std::string code = server.authorize(one.address());
    ASSERT_NE(code, "") << one.address();
    const auto account = one.finish("  " + code + "\n", cancel);
    ASSERT_TRUE(account) << account.error().description;
    EXPECT_EQ(account->userId, CloudServer::userId);
    EXPECT_EQ(account->refreshToken.text(), CloudServer::refreshToken);
}

TEST_F(CloudAccountTest, ACodeIsOfNoUseToOthersOrWhenItIsWrong) {
    const CloudLink one(session, settings);
    const CloudLink other(session, settings);
    EXPECT_NE(one.address(), other.address());
    const auto stolen = other.finish(server.authorize(one.address()), cancel);
    ASSERT_FALSE(stolen);
    EXPECT_TRUE(stolen.error().is(urlErrorDomain, -1013));
    EXPECT_FALSE(one.finish("", cancel));
    EXPECT_FALSE(one.finish("nonsense&grant_type=refresh_token", cancel));
    server.failOnce("oauth2/token", {.rubbish = true});
    const auto rubbish = one.finish(server.authorize(one.address()), cancel);
    ASSERT_FALSE(rubbish);
    EXPECT_TRUE(rubbish.error().is(urlErrorDomain, urlerror::badServerResponse));
    server.failOnce("oauth2/token", {.status = 503});
    const auto limited = one.finish("x", cancel);
    ASSERT_FALSE(limited);
    EXPECT_TRUE(limited.error().is(cloudErrorDomain, 503));
}

}  // namespace
}  // namespace larkspan
