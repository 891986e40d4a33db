#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/UserTable.h"
#include "support/Programs.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace larkspan {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using testing::readWhole;
using testing::writeWhole;

// The programs, started by root for a user of the system who has no home folder but while a test
// runs.
class ConsoleUserTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) GTEST_SKIP() << "takes root";
        if (fs::exists("/run/systemd/seats/seat0")) GTEST_SKIP() << "takes nobody at the console";
        user = platform::userNamed("irc");
        const bool isFree = user && user->home.isWithin(Path("/run")) &&
                            !fs::exists(user->home.str()) && !fs::exists(localLibrary);
        if (!isFree) GTEST_SKIP() << "takes user irc with a free home folder below /run";
        isSetUp = true;
        work = user->home / "work";
        writeWhole(work / "one.fcp", "a project");
        fs::last_write_time((work / "one.fcp").str(),
                            fs::file_time_type::clock::now() - std::chrono::minutes(10));
        for (const Path& path : {user->home, work, work / "one.fcp"}) {
            ASSERT_EQ(::chown(path.c_str(), user->userID, user->groupID), 0);
        }
        programs.setVariable("SUDO_USER", user->name);
        programs.setVariable("TMPDIR", "/tmp");
        programs.setVariable("HOME", platform::userWithID(0)->home.str());
    }
    void TearDown() override {
        if (!isSetUp) return;
        fs::remove_all(user->home.str());
        fs::remove_all(localLibrary);
    }
    // Everything in the user's home that belongs to somebody else.
    std::vector<std::string> strangersFiles() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(user->home.str())) {
            struct stat facts {};
            if (::lstat(entry.path().c_str(), &facts) != 0 || facts.st_uid != user->userID) {
                found.push_back(entry.path().string());
            }
        }
        return found;
    }
    int helperOnce() { return programs.launchHelper({"--once"})->waitUntilExit(); }

    void filesAreTheUsers() {
        for (const std::string& home : {platform::userWithID(0)->home.str(), user->home.str()}) {
            programs.setVariable("HOME", home);
            EXPECT_EQ(programs.larkspan({"watch", "add", work.str()}).status, 0) << home;
            EXPECT_EQ(helperOnce(), 0);
            EXPECT_EQ(helperOnce(), 0);
            EXPECT_THAT(strangersFiles(), IsEmpty());
        }
        size_t versions = 0;
        for (const auto& entry : fs::recursive_directory_iterator(user->home.str())) {
            if (entry.path().filename() == "one.00001.fcp") ++versions;
        }
        EXPECT_EQ(versions, 1U);
        const Path log(localLibrary + "/Logs/Corvane/LarkspanHelper.1.log");
        EXPECT_THAT(readWhole(log), HasSubstr("Log started"));
    }
    // One to preferences that root alone may read.
    void aPlantedLinkLeadsNowhere() {
        const Path secret = programs.work() / "secret.plist";
        const std::string preferences =
            (user->home / ".local/share/larkspan/Preferences/com.corvane.Larkspan.plist").str();
        fs::rename(preferences, secret.str());
        ASSERT_EQ(::chown(secret.c_str(), 0, 0), 0);
        fs::permissions(secret.str(), fs::perms::owner_read | fs::perms::owner_write);
        const std::string before = readWhole(secret);
        fs::create_symlink(secret.str(), preferences);
        ASSERT_EQ(::lchown(preferences.c_str(), user->userID, user->groupID), 0);

        EXPECT_THAT(programs.larkspan({"watch", "list"}).output, Not(HasSubstr(work.str())));
        (void)programs.larkspan({"watch", "remove", work.str()});
        EXPECT_EQ(helperOnce(), 0);
        EXPECT_EQ(readWhole(secret), before);
        EXPECT_THAT(strangersFiles(), IsEmpty());
    }

    platform::LinuxPlatform system;
    testing::Programs programs{system.platform().processes};
    std::optional<platform::UserEntry> user;
    bool isSetUp = false;
    Path work;
    const std::string localLibrary = "/var/lib/larkspan";
};

// One test, since there is but one such user.
TEST_F(ConsoleUserTest, WhatRootDoesInTheUsersFoldersIsDoneAsTheUser) {
    filesAreTheUsers();
    aPlantedLinkLeadsNowhere();
}

}  // namespace
}  // namespace larkspan
