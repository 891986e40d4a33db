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
#include <signal.h>

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
    // Somebody at a terminal.
    static PrivilegePrograms withPerson(Path pkexec) {
        return {.pkexec = std::move(pkexec), .sudo = Path("/none"), .personFacts = [] {
                    return PersonFacts{.hasTerminal = true};
                }};
    }
    static bool never() { return false; }
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

TEST_F(LinuxPrivilegesTest, OneQuestionServesEveryToolWithItsArgumentsAsTheyAre) {
    auto system = privileges(withPerson(pkexec("echo \"$1\" >>asked\nexec \"$@\"\n")));
    const auto authorization = system.authorize(Asking::anywhere, never);
    ASSERT_TRUE(authorization);
    for (const char* strange : {"a b;$(touch c) 'd'", "-e\n", "\\0"}) {
        const Path file = folder.path() / strange;
        EXPECT_EQ(authorization->execute(touch, {"--", file.str()}, WaitForOutput::yes), 0);
        EXPECT_TRUE(std::filesystem::exists(file.str())) << strange;
    }
    EXPECT_EQ(authorization->execute(Path("/bin/sh"), {"-c", "kill $$"}, WaitForOutput::yes), 0);
    EXPECT_EQ(authorization->execute(touch, {"last"}, WaitForOutput::no), 0);
    EXPECT_TRUE(eventuallyThere("last"));
    EXPECT_FALSE(std::filesystem::exists((folder.path() / "c").str()));
    EXPECT_EQ(content("asked"), "/usr/bin/xargs\n");

    EXPECT_EQ(authorization->execute(Path("touch"), {"x"}, WaitForOutput::no), EINVAL);
    EXPECT_EQ(authorization->execute(touch, {std::string("x\0y", 3)}, WaitForOutput::no), EINVAL);
    for (const auto& tooMuch : {std::vector<std::string>(17, "x"), {std::string(5000, 'x')}}) {
        EXPECT_EQ(authorization->execute(touch, tooMuch, WaitForOutput::yes), E2BIG);
    }
}

TEST_F(LinuxPrivilegesTest, AnAuthorizationWhoseProgramHasEndedHasRunOut) {
    auto system = privileges(withPerson(pkexec("echo $$ >number; exec \"$@\"\n")));
    const auto authorization = system.authorize(Asking::anywhere, never);
    ASSERT_TRUE(authorization);
    ::kill(std::stoi(content("number")), SIGKILL);
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    std::int32_t status = 0;
    while (status != EPIPE && std::chrono::steady_clock::now() < deadline) {
        status = authorization->execute(touch, {"x"}, WaitForOutput::yes);
    }
    EXPECT_EQ(status, EPIPE);
}

TEST_F(LinuxPrivilegesTest, WithoutAPersonsYesThereIsNoRight) {
    const Path there = pkexec("exec \"$@\"\n");
    auto onTerminal = withPerson(there);
    EXPECT_FALSE(privileges(onTerminal).canAskPerson(Asking::atDesktop));
    EXPECT_EQ(privileges(onTerminal).authorize(Asking::atDesktop, never), nullptr);
    EXPECT_EQ(privileges(withPerson(Path("/none"))).authorize(Asking::anywhere, never), nullptr);
    for (const char* refusal : {"exit 126\n", "exit 127\n"}) {
        auto refused = privileges(withPerson(script("refuses", refusal)));
        EXPECT_EQ(refused.authorize(Asking::anywhere, never), nullptr) << refusal;
    }
    int looks = 0;
    auto open = privileges(withPerson(script("waits", "exec sleep 60\n")));
    EXPECT_EQ(open.authorize(Asking::anywhere, [&] { return ++looks > 3; }), nullptr);

    const auto refused = privileges({.pkexec = there, .sudo = Path("/none")})
                             .authorize(places.user, Secret("swordfish"));
    EXPECT_EQ(refused.error().code, ENOENT);
    EXPECT_EQ(privileges({}).inheritedAuthorization(), nullptr);
}

TEST_F(LinuxPrivilegesTest, AtADesktopTheTerminalIsLeftAlone) {
    auto programs =
        withPerson(pkexec("[ \"$1\" = --disable-internal-agent ] || exit 127\n"
                          "shift; exec \"$@\"\n"));
    programs.personFacts = [] { return PersonFacts{.hasDisplay = true}; };
    EXPECT_NE(privileges(programs).authorize(Asking::atDesktop, never), nullptr);
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
