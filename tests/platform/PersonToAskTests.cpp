#include "platform/linux/PersonToAsk.h"
#include "support/TemporaryFolder.h"

#include <fstream>

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace larkspan::platform {
namespace {

LoginSession session(const std::string& change) {
    return parseLoginSession(
        "# made by logind\nUID=1000\nACTIVE=1\nREMOTE=0\nTYPE=wayland\n"
        "CLASS=user\n" +
        change);
}

TEST(PersonToAskTests, APersonSitsAtADesktopInAnActiveSessionOfTheirOwnThere) {
    const std::pair<const char*, bool> cases[] = {{"", true},
                                                  {"TYPE=x11\n", true},
                                                  {"TYPE=tty\n", false},
                                                  {"UID=1001\n", false},
                                                  {"ACTIVE=0\n", false},
                                                  {"REMOTE=1\n", false},
                                                  {"TYPE\n", false},
                                                  {"CLASS=greeter\n", false},
                                                  {"CLASS=background\n", false}};
    for (const auto& [change, expected] : cases) {
        const PersonFacts facts{
            .userID = 1000, .hasDisplay = true, .sessions = std::vector{session(change)}};
        EXPECT_EQ(personCanBeAsked(facts, Asking::atDesktop), expected) << change;
        EXPECT_TRUE(personCanBeAsked(facts, Asking::anywhere)) << change;
    }
}

TEST(PersonToAskTests, WithoutSessionsTheDisplayDecidesAndATerminalDoesForOthers) {
    struct Case {
        PersonFacts facts;
        bool atDesktop;
        bool anywhere;
    };
    const Case cases[] = {
        {{}, false, false},
        {{.hasTerminal = true}, false, true},
        {{.hasDisplay = true}, true, true},
        {{.hasDisplay = true, .sessions = std::vector<LoginSession>()}, false, true}};
    for (const Case& c : cases) {
        EXPECT_EQ(personCanBeAsked(c.facts, Asking::atDesktop), c.atDesktop);
        EXPECT_EQ(personCanBeAsked(c.facts, Asking::anywhere), c.anywhere);
    }
}

TEST(PersonToAskTests, SessionsAreReadFromTheirFolder) {
    const testing::TemporaryFolder folder;
    std::ofstream((folder.path() / "2").str()) << "UID=7\nACTIVE=1\n";
    ASSERT_EQ(::mkfifo((folder.path() / "2.ref").c_str(), 0600), 0);
    const auto sessions = PersonFacts::ofThisProcess(folder.path()).sessions;
    ASSERT_TRUE(sessions);
    ASSERT_EQ(sessions->size(), 1U);
    EXPECT_EQ(sessions->front().userID, 7U);
    EXPECT_FALSE(PersonFacts::ofThisProcess(folder.path() / "none").sessions);
}

}  // namespace
}  // namespace larkspan::platform
