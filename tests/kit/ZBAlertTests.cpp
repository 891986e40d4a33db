#include "kit/TaskFixture.h"
#include "kit/ZBAlert.h"
#include "platform/linux/LinuxAlerts.h"
#include "support/FakePlatformTest.h"
#include "support/PseudoTerminal.h"

#include <atomic>
#include <thread>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using namespace std::chrono_literals;
using platform::AlertID;
using platform::AlertRequest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int other = platform::alertOtherReturn;
constexpr int alternate = platform::alertAlternateReturn;

class AlertTest : public testing::FakePlatformTest {
  protected:
    // The person answers that as soon as the main thread serves events.
    void willAnswer(int returnCode, std::optional<bool> suppression = std::nullopt) {
        fake.alerts.onShow = [=, this](AlertID alert) {
            fake.mainThread.post([=, this] {
                fake.alerts.answer(alert, {.returnCode = returnCode, .suppression = suppression});
            });
        };
    }
    const AlertRequest& shown(size_t index) { return fake.alerts.shown.at(index).request; }
    // Runs something on another thread; this one serves the main thread's events.
    int onAnotherThread(const std::function<int()>& run) {
        std::atomic<bool> done{false};
        int result = 0;
        std::thread thread([&] {
            result = run();
            done = true;
        });
        while (!done) {
            fake.mainThread.runPosted();
            std::this_thread::yield();
        }
        thread.join();
        return result;
    }

    const AlertSheet sheet{.messageText = "Message",
                           .defaultButton = "Yes",
                           .alternateButton = "No",
                           .otherButton = "Perhaps",
                           .informativeText = "100%@ %s literal"};
};

struct Delegate final : ZBAlertDelegate {
    EndOperation endOperation(const std::string& didEndSelector) override {
        asked.push_back(didEndSelector);
        if (didEndSelector != "ended:") return {};
        return [this](ZBAlert&, int code) { codes.push_back(code); };
    }
    std::vector<std::string> asked;
    std::vector<int> codes;
};

TEST_F(AlertTest, ShowsMessageTextAndButtonsAndGivesTheOnePressed) {
    for (const int pressed : {platform::alertDefaultReturn, alternate, other}) {
        willAnswer(pressed);
        EXPECT_EQ(ZBAlert::alertSheetWithMessageText(sheet, Block::yes), pressed);
        const AlertRequest& request = fake.alerts.shown.back().request;
        EXPECT_EQ(request.messageText, "Message");
        EXPECT_EQ(request.informativeText, "100%@ %s literal");
        EXPECT_EQ(request.defaultButton, "Yes");
        EXPECT_EQ(request.alternateButton, "No");
        EXPECT_EQ(request.otherButton, "Perhaps");
        EXPECT_EQ(request.suppression, std::nullopt);
    }
    willAnswer(1);
    EXPECT_EQ(ZBAlert::alertSheetWithMessageText(std::nullopt, std::nullopt), 1);
    EXPECT_EQ(shown(3).messageText + shown(3).informativeText, "");
    EXPECT_EQ(shown(3).defaultButton, std::nullopt);
    fake.alerts.answersAtOnce = {.returnCode = other};
    EXPECT_EQ(ZBAlert::alertSheetWithMessageText("a", "b"), other);
}

TEST_F(AlertTest, TheShorterFormsIgnoreDelegateEndOperationAndBlock) {
    willAnswer(alternate);
    EXPECT_EQ(ZBAlert::alertSheetWithMessageText(sheet, Block::no), alternate);
    const auto delegate = std::make_shared<Delegate>();
    for (const char* selector : {"ended:", "missing:"}) {
        EXPECT_EQ(ZBAlert::alertSheetWithMessageText(sheet, delegate, selector, Block::no),
                  alternate);
    }
    EXPECT_THAT(delegate->asked, IsEmpty());
    EXPECT_THAT(fake.console.reported(), IsEmpty());
}

TEST_F(AlertTest, WithoutBlockingTheDelegateHearsOfTheAnswerLater) {
    const auto delegate = std::make_shared<Delegate>();
    const auto alert = std::make_shared<ZBAlert>();
    EXPECT_EQ(ZBAlert::alertSheetWithMessageText(sheet, delegate, "ended:", Block::no, alert), -1);
    ASSERT_TRUE(alert->alert());
    EXPECT_TRUE(fake.alerts.isUp(*alert->alert()));
    EXPECT_FALSE(alert->alertEnded());
    fake.alerts.answer(*alert->alert(), {.returnCode = alternate});
    EXPECT_THAT(delegate->codes, ElementsAre(alternate));
    EXPECT_TRUE(alert->alertEnded());
    EXPECT_EQ(alert->returnCode(), alternate);
    EXPECT_EQ(alert->alert(), std::nullopt);
    EXPECT_EQ(alert.use_count(), 1);

    willAnswer(other);
    EXPECT_EQ(ZBAlert::alertSheetWithMessageText(sheet, delegate, "ended:", Block::yes, alert),
              other);
    EXPECT_THAT(delegate->codes, ElementsAre(alternate, other));
}

TEST_F(AlertTest, AnEndOperationThatIsMissingShowsNothing) {
    const auto delegate = std::make_shared<Delegate>();
    const auto show = [&](const std::shared_ptr<ZBAlertDelegate>& to,
                          const std::optional<std::string>& selector) {
        return ZBAlert::alertSheetWithMessageText(sheet, to, selector, Block::yes, nullptr);
    };
    EXPECT_EQ(show(delegate, "missing:"), -1);
    EXPECT_EQ(show(delegate, std::nullopt), -1);
    EXPECT_EQ(show(nullptr, "ended:"), -1);
    EXPECT_THAT(fake.alerts.shown, IsEmpty());
    const std::string start = "Alert error: delegate does not respond to selector ";
    EXPECT_THAT(fake.console.reported(),
                ElementsAre(start + "missing:", start + "alertDidEnd:returnCode:contextInfo:",
                            start + "ended:"));
}

TEST_F(AlertTest, AWindowThatHasASheetIsLeftAlone) {
    const auto window = std::make_shared<platform::FakeWindow>();
    willAnswer(1);
    EXPECT_EQ(ZBAlert::alertSheetWithMessageText("a", "b", window), 1);
    EXPECT_EQ(fake.alerts.shown[0].window, window);
    EXPECT_EQ(window->timesInFront, 1);
    window->hasSheet = true;
    EXPECT_EQ(ZBAlert::alertSheetWithMessageText("a", "b", window), 1);
    EXPECT_EQ(fake.alerts.shown[1].window, nullptr);
    EXPECT_EQ(window->timesInFront, 1);
}

TEST_F(AlertTest, TheTimedFormTakesTheDefaultButtonWhenTheTimeHasRunOut) {
    const Seconds before = fake.clock.uptime();
    EXPECT_EQ(ZBAlert::timedAlertSheetWithMessageText(sheet, 5s), 1);
    const Seconds took = fake.clock.uptime() - before;
    EXPECT_GE(took, 5s);
    EXPECT_LE(took, Seconds(5.1));
    EXPECT_FALSE(fake.alerts.isUp(1)) << "taken away";
    willAnswer(other);
    EXPECT_EQ(ZBAlert::timedAlertSheetWithMessageText(sheet, 5s), other);
    EXPECT_EQ(onAnotherThread([&] {
                  fake.alerts.onShow = {};
                  return ZBAlert::timedAlertSheetWithMessageText(sheet, 5s);
              }),
              1);
    EXPECT_FALSE(fake.alerts.isUp(3));
}

TEST_F(AlertTest, ATimeThatRunsOutAfterTheAnswerReplacesTheCode) {
    const auto alert = std::make_shared<ZBAlert>();
    alert->defaultReturnAfterTimeInterval(5s);
    alert->alertDidEnd(other);
    EXPECT_EQ(alert->returnCode(), other);
    fake.clock.advance(4s);
    EXPECT_EQ(alert->returnCode(), other);
    fake.clock.advance(1s);
    EXPECT_EQ(alert->returnCode(), 1);
    alert->setAlertEnded(false);
    alert->defaultReturnAfterTimeInterval(5s);
    fake.clock.advance(5s);
    alert->setAlertEnded(false);
    EXPECT_FALSE(alert->alertEnded()) << "what ran out before it was shown anew does not end it";
}

TEST_F(AlertTest, TheCheckBoxIsBoundToTheProgramsOwnDefaults) {
    const auto show = [&] {
        return ZBAlert::alertSheetWithMessageText(sheet, nullptr, std::nullopt, Block::yes, nullptr,
                                                  "hideIt");
    };
    willAnswer(1, false);
    EXPECT_EQ(show(), 1);
    EXPECT_EQ(shown(0).suppression, false);
    EXPECT_EQ(Preferences::ownDefaults().object("hideIt"), nullptr) << "unchanged";
    willAnswer(1, true);
    EXPECT_EQ(show(), 1);
    ASSERT_NE(Preferences::ownDefaults().object("hideIt"), nullptr);
    EXPECT_EQ(*Preferences::ownDefaults().object("hideIt"), Value(true));
    willAnswer(1);
    EXPECT_EQ(show(), 1);
    EXPECT_EQ(shown(2).suppression, true);
}

TEST_F(AlertTest, OnAnotherThreadTheAlertIsUpOnTheMainThread) {
    fake.alerts.onShow = [&](AlertID alert) {
        EXPECT_TRUE(fake.mainThread.isCurrent());
        fake.mainThread.post([&, alert] { fake.alerts.answer(alert, {.returnCode = alternate}); });
    };
    EXPECT_EQ(
        onAnotherThread([&] { return ZBAlert::alertSheetWithMessageText(sheet, Block::yes); }),
        alternate);
}

TEST_F(AlertTest, NobodyWaitsForAMainLoopThatHasEnded) {
    fake.alerts.onShow = [&](AlertID) { fake.mainThread.terminate(); };
    EXPECT_EQ(onAnotherThread([&] { return ZBAlert::alertSheetWithMessageText("a", "b"); }), -1);
    EXPECT_EQ(onAnotherThread([&] { return ZBAlert::alertSheetWithMessageText("a", "b"); }), -1);
    EXPECT_EQ(fake.alerts.shown.size(), 1U);
    EXPECT_EQ(ZBAlert::alertSheetWithMessageText("a", "b"), -1);
}

// The whole way to a terminal, on a real main loop.
class TerminalAlertTest : public testing::ShellTaskFixture {
  protected:
    TerminalAlertTest() {
        fake.alerts.onShow = [this](AlertID alert) {
            alerts.show(fake.alerts.shown.back().request, nullptr,
                        [this, alert](const auto& answer) { fake.alerts.answer(alert, answer); });
        };
    }

    testing::PseudoTerminal terminal;
    platform::LinuxAlerts alerts{
        mainThread, processes, {.input = terminal.terminal(), .output = terminal.terminal()}};
};

TEST_F(TerminalAlertTest, BlocksTheMainThreadWhichGoesOnServingEvents) {
    const auto answersOnceShown = [&] {
        if (terminal.shows("Your choice [1]: ")) terminal.type("2\n");
    };
    const auto person = mainThread.scheduleRepeating(Seconds(0.002), answersOnceShown);
    const AlertSheet sheet{.messageText = "Go on?", .alternateButton = "No"};
    EXPECT_EQ(ZBAlert::alertSheetWithMessageText(sheet, Block::yes),
              platform::alertAlternateReturn);
    // Amid an event, too.
    int returnCode = -2;
    mainThread.post([&] {
        returnCode = ZBAlert::alertSheetWithMessageText(sheet, Block::yes);
        mainThread.stop();
    });
    mainThread.run();
    EXPECT_EQ(returnCode, platform::alertAlternateReturn);
}

}  // namespace
}  // namespace larkspan
