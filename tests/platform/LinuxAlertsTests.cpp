#include "platform/linux/AlertText.h"
#include "platform/linux/LinuxAlerts.h"
#include "platform/linux/LinuxProcesses.h"
#include "platform/posix/FileDescriptor.h"
#include "support/PseudoTerminal.h"
#include "support/Pump.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

const AlertRequest question{.messageText = "Go on?",
                            .informativeText = "There are 100%@ left.",
                            .defaultButton = "Yes",
                            .alternateButton = "No",
                            .otherButton = "Perhaps"};
const AlertRequest notice{.messageText = "Done"};

// Collects what was answered, as "NAME CODE".
class LinuxAlertsTest : public ::testing::Test {
  protected:
    AlertID show(LinuxAlerts& alerts, const AlertRequest& request, const std::string& name) {
        return alerts.show(request, nullptr, [this, name](const AlertAnswer& answer) {
            EXPECT_TRUE(mainThread.isCurrent());
            answers.push_back(name + " " + std::to_string(answer.returnCode));
            suppression = answer.suppression;
        });
    }
    bool waitForAnswers(size_t count) {
        return testing::pumpUntil(mainThread, [&] { return answers.size() >= count; });
    }

    LinuxMainThread mainThread;
    LinuxProcesses processes;
    std::vector<std::string> answers;
    std::optional<bool> suppression;
};

class TerminalAlertsTest : public LinuxAlertsTest {
  protected:
    bool sees(const std::string& text) {
        bool seen = false;
        return testing::pumpUntil(mainThread, [&] { return seen = seen || terminal.shows(text); });
    }
    void type(const std::string& keys) const { terminal.type(keys); }

    testing::PseudoTerminal terminal;
    const AlertDevices devices{.input = terminal.terminal(), .output = terminal.terminal()};
};

TEST_F(TerminalAlertsTest, AsksWithNumberedButtonsUntilAnAnswerIsUnderstood) {
    LinuxAlerts alerts(mainThread, processes, devices);
    show(alerts, question, "a");
    ASSERT_TRUE(
        sees("Go on?\r\nThere are 100%@ left.\r\n  1. Yes\r\n  2. No\r\n  3. Perhaps\r\n"
             "Your choice [1]: "));
    type("4\n");
    ASSERT_TRUE(sees("Please enter a number from 1 to 3.\r\nYour choice [1]: "));
    EXPECT_THAT(answers, IsEmpty());
    type(" 3 \n");
    ASSERT_TRUE(waitForAnswers(1));
    EXPECT_THAT(answers, ElementsAre("a -1"));
}

TEST_F(TerminalAlertsTest, OneAfterTheOtherAndWhatIsTypedAheadIsNoAnswer) {
    LinuxAlerts alerts(mainThread, processes, devices);
    type("2\n");
    show(alerts, question, "a");
    show(alerts, question, "b");
    const AlertID third = show(alerts, notice, "c");
    show(alerts, notice, "d");
    ASSERT_TRUE(sees("Your choice [1]: "));
    alerts.orderOut(third);
    type("2\n");
    ASSERT_TRUE(sees("Your choice [1]: "));
    type("\n");
    ASSERT_TRUE(sees("Done\r\n  1. OK\r\nYour choice [1]: "));
    type("1\n");
    ASSERT_TRUE(waitForAnswers(3));
    EXPECT_THAT(answers, ElementsAre("a 0", "b 1", "d 1"));
}

TEST_F(TerminalAlertsTest, AnAlertTakenAwayMakesRoomForTheNext) {
    LinuxAlerts alerts(mainThread, processes, devices);
    const AlertID first = show(alerts, question, "a");
    show(alerts, notice, "b");
    ASSERT_TRUE(sees("Your choice [1]: "));
    alerts.orderOut(first);
    ASSERT_TRUE(sees("\r\nDone\r\n"));
    ASSERT_TRUE(sees("Your choice [1]: "));
    alerts.orderOut(first);
    type("1\n");
    ASSERT_TRUE(waitForAnswers(1));
    EXPECT_THAT(answers, ElementsAre("b 1"));
}

TEST_F(TerminalAlertsTest, TheCheckBoxIsToggledByALetter) {
    LinuxAlerts alerts(mainThread, processes, devices);
    AlertRequest request = notice;
    request.suppression = false;
    show(alerts, request, "a");
    ASSERT_TRUE(sees("  s. [ ] Do not show this again\r\nYour choice [1]: "));
    type("s\n");
    ASSERT_TRUE(sees("  s. [x] Do not show this again\r\nYour choice [1]: "));
    type("\n");
    ASSERT_TRUE(waitForAnswers(1));
    EXPECT_EQ(suppression, true);
}

TEST_F(TerminalAlertsTest, TheEndOfInputIsTheDefaultButton) {
    LinuxAlerts alerts(mainThread, processes, devices);
    show(alerts, question, "eof");
    ASSERT_TRUE(sees("Your choice [1]: "));
    type("\x04");
    ASSERT_TRUE(waitForAnswers(1));
    show(alerts, question, "hangup");
    show(alerts, question, "next");
    ASSERT_TRUE(sees("Your choice [1]: "));
    terminal.hangUp();
    ASSERT_TRUE(waitForAnswers(3));
    EXPECT_THAT(answers, ElementsAre("eof 1", "hangup 1", "next 1"));
}

TEST_F(TerminalAlertsTest, TextsCannotSteerTheTerminal) {
    LinuxAlerts alerts(mainThread, processes, devices);
    show(alerts, {.messageText = "two\nlines\x1b[2J", .defaultButton = "\x1b]0;x\x07"}, "a");
    ASSERT_TRUE(sees("two\r\nlines?[2J\r\n  1. ?]0;x?\r\n"));
    EXPECT_THAT(terminal.content(), Not(HasSubstr("\x1b")));
}

TEST_F(TerminalAlertsTest, AnAnswerMayAskAgainAndAnAlertLeftUpIsDropped) {
    LinuxAlerts alerts(mainThread, processes, devices);
    alerts.show(notice, nullptr, [&](const AlertAnswer&) {
        show(alerts, notice, "again");
        show(alerts, notice, "left up");
    });
    ASSERT_TRUE(sees("Your choice [1]: "));
    type("1\n");
    ASSERT_TRUE(sees("Your choice [1]: "));
    type("1\n");
    ASSERT_TRUE(waitForAnswers(1));
    EXPECT_THAT(answers, ElementsAre("again 1"));
}

// A program in zenity's place, which notes its arguments.
class ZenityAlertsTest : public LinuxAlertsTest {
  protected:
    ZenityAlertsTest() {
        nowhere.reset(::open("/dev/null", O_RDWR | O_CLOEXEC));
        devices.input = devices.output = nowhere.get();
        devices.zenity = folder.path() / "zenity";
        devices.hasDisplay = true;
    }
    void setZenity(const std::string& does) const {
        std::ofstream(devices.zenity.str())
            << "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"$0.arguments\"\n" + does + "\n";
        fs::permissions(devices.zenity.str(), fs::perms::owner_all);
    }
    std::string arguments() const {
        std::ostringstream content;
        content << std::ifstream(devices.zenity.str() + ".arguments").rdbuf();
        return content.str();
    }

    testing::TemporaryFolder folder;
    FileDescriptor nowhere;
    AlertDevices devices;
};

TEST_F(ZenityAlertsTest, AnswersByExitStatusAndExtraButton) {
    struct Case {
        const char* does;
        AlertRequest request;
        const char* answer;
    };
    for (const Case& one : {Case{"exit 0", question, "a 1"},
                            {"exit 1", question, "a 0"},
                            {"echo Perhaps; exit 1", question, "a -1"},
                            {"exit 1", notice, "a 1"},
                            {"exit 5", question, "a 1"},
                            {"echo 'cannot open display: :7' >&2; exit 1", question, "a 1"}}) {
        setZenity(one.does);
        LinuxAlerts alerts(mainThread, processes, devices);
        answers.clear();
        show(alerts, one.request, "a");
        EXPECT_TRUE(waitForAnswers(1)) << one.does;
        EXPECT_THAT(answers, ElementsAre(one.answer)) << one.does;
    }
    EXPECT_EQ(arguments(),
              "--question\n--no-markup\n--title=Larkspan\n--text=Go on?\n\nThere are 100%@ left.\n"
              "--ok-label=Yes\n--cancel-label=No\n--extra-button=Perhaps\n");
}

TEST_F(ZenityAlertsTest, AWindowIsTakenAwayAndNoneOutlivesTheAlerts) {
    setZenity("exec sleep 60");
    {
        LinuxAlerts alerts(mainThread, processes, devices);
        alerts.orderOut(show(alerts, question, "a"));
        show(alerts, question, "b");
    }
    testing::pumpFor(mainThread, std::chrono::milliseconds(5));
    EXPECT_THAT(answers, IsEmpty());
}

TEST_F(ZenityAlertsTest, WhereNobodyCanBeAskedTheDefaultButtonIsTheAnswer) {
    LinuxAlerts withoutZenity(mainThread, processes, devices);
    show(withoutZenity, question, "a");
    EXPECT_THAT(answers, ElementsAre("a 1"));
    setZenity("exit 1");
    devices.hasDisplay = false;
    LinuxAlerts withoutDisplay(mainThread, processes, devices);
    AlertRequest request = question;
    request.suppression = true;
    show(withoutDisplay, request, "b");
    EXPECT_THAT(answers, ElementsAre("a 1", "b 1"));
    EXPECT_EQ(suppression, true);
    EXPECT_EQ(withoutDisplay.mainWindow(), nullptr);
}

TEST(AlertText, ZenityGetsBackslashesAndButtonsAsTheyAre) {
    EXPECT_THAT(zenityArguments({.messageText = "C:\\new", .otherButton = "Other"}),
                ElementsAre("--info", "--no-markup", "--title=Larkspan", "--text=C:\\\\new",
                            "--ok-label=OK", "--extra-button=Other"));
}

}  // namespace
}  // namespace larkspan::platform
