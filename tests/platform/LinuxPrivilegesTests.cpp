#include "platform/fake/FakeStandardPlaces.h"
#include "platform/linux/LinuxPrivileges.h"
#include "platform/linux/LinuxProcesses.h"
#include "platform/posix/SystemClock.h"
#include "support/TemporaryFolder.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include <gmock/gmock.h>

namespace larkspan::platform {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::Not;

// Scripts stand in for the system's programs: who may become root differs from machine to machine.
class LinuxPrivilegesTest : public ::testing::Test {
  protected:
    Path script(const char* name, const std::string& text) {
        Path path = folder.path() / name;
        std::ofstream(path.str()) << "#!/bin/sh\ncd '" << folder.path() << "' || exit 9\n" << text;
        std::filesystem::permissions(path.str(), std::filesystem::perms::owner_all);
        return path;
    }
    Path pkexec(const std::string& text) { return script("pkexec", text); }
    Path sudo() {
        return script("sudo",
                      "printf '%s\\n' \"$*\" >>calls\n"
                      "case $1 in\n"
                      "-k) rm -f valid ;;\n"
                      "-S) IFS= read -r password; [ \"$password\" = swordfish ] || exit 1; "
                      ": >valid ;;\n"
                      "-n) [ -e valid ] || exit 1; [ \"$2\" = -v ] && exit 0; shift 2; exec \"$@\" "
                      ";;\n"
                      "esac\n");
    }
    LinuxPrivileges privileges(PrivilegePrograms programs) {
        return {processes, clock, places, std::move(programs)};
    }
    std::string content(const char* name) const {
        std::ifstream file((folder.path() / name).str());
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool eventuallyThere(const char* name) const {
        const auto deadline = std::chrono::steady_clock::now() + 10s;
        while (!std::filesystem::exists((folder.path() / name).str())) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            std::this_thread::sleep_for(1ms);
        }
        return true;
    }

    testing::TemporaryFolder folder;
    FakeStandardPlaces places;
    SystemClock clock;
    LinuxProcesses processes;
    const Path touch{"/usr/bin/touch"};
};

TEST_F(LinuxPrivilegesTest, AGrantedToolRunsWithItsArgumentsAsTheyAre) {
    auto system = privileges(
        {.pkexec = pkexec("exec \"$@\"\n"), .sudo = Path("/none"), .personCanBeAsked = true});
    const auto authorization = system.authorize();
    ASSERT_TRUE(authorization);
    const char* strange = "a b;$(touch c) 'd'";
    EXPECT_EQ(authorization->execute(touch, {strange}, WaitForOutput::yes), 0);
    EXPECT_TRUE(eventuallyThere(strange));
    EXPECT_FALSE(std::filesystem::exists((folder.path() / "c").str()));
    EXPECT_EQ(authorization->execute(Path("touch"), {"x"}, WaitForOutput::no), EINVAL);
}

TEST_F(LinuxPrivilegesTest, ARefusalIsNoStart) {
    for (const char* refusal : {"exit 126\n", "exit 127\n"}) {
        auto system = privileges(
            {.pkexec = pkexec(refusal), .sudo = Path("/none"), .personCanBeAsked = true});
        EXPECT_EQ(system.authorize()->execute(touch, {"x"}, WaitForOutput::no), EACCES) << refusal;
    }
    EXPECT_FALSE(std::filesystem::exists((folder.path() / "x").str()));
}

TEST_F(LinuxPrivilegesTest, WithoutAPersonOrAProgramThereIsNoRight) {
    const Path there = pkexec("exec \"$@\"\n");
    EXPECT_EQ(privileges({.pkexec = there, .sudo = Path("/none")}).authorize(), nullptr);
    EXPECT_EQ(privileges({.pkexec = Path("/none"), .sudo = Path("/none"), .personCanBeAsked = true})
                  .authorize(),
              nullptr);
    const auto refused = privileges({.pkexec = there, .sudo = Path("/none")})
                             .authorize(places.user, Secret("swordfish"));
    EXPECT_EQ(refused.error().code, ENOENT);
    EXPECT_EQ(privileges({}).inheritedAuthorization(), nullptr);
}

TEST_F(LinuxPrivilegesTest, ThePasswordGoesThroughThePipeOnly) {
    auto system = privileges({.pkexec = Path("/none"), .sudo = sudo()});
    {
        auto granted = system.authorize(places.user, Secret("swordfish"));
        ASSERT_TRUE(granted) << granted.error().description;
        EXPECT_EQ((*granted)->execute(touch, {"made"}, WaitForOutput::yes), 0);
        EXPECT_TRUE(eventuallyThere("made"));
        std::filesystem::remove((folder.path() / "valid").str());
        EXPECT_EQ((*granted)->execute(touch, {"late"}, WaitForOutput::yes), EACCES);
    }
    EXPECT_THAT(content("calls"), HasSubstr("-n -- /usr/bin/touch made\n"));
    EXPECT_THAT(content("calls"), Not(HasSubstr("swordfish")));
    EXPECT_TRUE(content("calls").ends_with("-k\n"));
}

TEST_F(LinuxPrivilegesTest, WrongPasswordsAndOtherUsersAreDenied) {
    auto system = privileges({.pkexec = Path("/none"), .sudo = sudo()});
    for (const auto& [user, password] :
         {std::pair(places.user, "wrong"), std::pair(places.user, "swordfish\nmore"),
          std::pair(std::string("somebody"), "swordfish")}) {
        const auto granted = system.authorize(user, Secret(password));
        ASSERT_FALSE(granted) << user << password;
        EXPECT_TRUE(granted.error().is(privilegesErrorDomain, authorizationDenied));
    }
}

}  // namespace
}  // namespace larkspan::platform
