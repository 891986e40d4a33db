#include "frontend/FrontEndTest.h"
#include "frontend/LiveRun.h"
#include "support/Pump.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

constexpr Date saved = dateFromUnixTime(1'600'000'000);

// The helper is a pretended program; its connection is served by the test once it has started.
class LiveRunTest : public testing::FrontEndTest {
  protected:
    LiveRunTest() {
        fake.files.addFile(helperExecutable(), "program");
        EXPECT_FALSE(fake.files.setPermissions(helperExecutable(), 0755));
        fake.processes.setProgram(helperExecutable(), {.runsUntilTerminated = true});
        helperWatches("/Work/Film");
    }

    // Does something on the main thread while the run goes on, after so many seconds.
    void after(Seconds delay, const std::function<void()>& work) {
        timers_.push_back(fake.mainThread.scheduleRepeating(delay, [work, done = false]() mutable {
            if (!done) work();
            done = true;
        }));
    }
    void serveWhenLaunched() {
        after(Seconds(0.3), [this] { startHelper(fake.processes.launched().at(0)->processID()); });
    }

  private:
    std::vector<std::unique_ptr<platform::MainThread::Timer>> timers_;
};

TEST_F(LiveRunTest, TellsWhatIsFoundAndTakenUntilItIsAskedToEnd) {
    addProject("AAAA", "/Work/Film/Old.fcp");
    addVersion("AAAA", "Old.00001.fcp", saved);
    serveWhenLaunched();
    after(Seconds(2), [this] {
        addProject("BBBB", "/Work/Film/Cut.fcp");
        fake.fileEvents.reportChange(Path("/Store"));
        addVersion("BBBB", "Cut.00001.fcp", saved, std::string(1'200'000, 'x'));
        fake.fileEvents.reportChange(Path("/Store/BBBB.localized/Versions"));
        addVersion("AAAA", "Old.00002.fcp", saved);
        lastProblem = Value::Dictionary{{"text", "Disk \x1b full"}, {"date", fake.clock.now()}};
        fake.fileEvents.reportChange(Path("/Store/AAAA.localized/Versions"));
    });
    after(Seconds(3), [this] { askToEnd(); });
    const auto outcome = run({"run", "Film"});
    EXPECT_EQ(outcome.status, ExitStatus::done) << outcome.messages;
    EXPECT_THAT(outcome.output,
                AllOf(HasSubstr("Watching /Work/Film\n"), HasSubstr("(1 project, 1 version)"),
                      HasSubstr("Found project Cut.fcp in /Work/Film\n"),
                      HasSubstr("\nCut.fcp: version 1 (1.2 MB, saved "),
                      HasSubstr("Old.fcp: version 2 (7 B"), HasSubstr("Problem: Disk ? full\n"),
                      HasSubstr("Goodbye: 1 project found, 2 versions taken.\n")));
    EXPECT_FALSE(fake.processes.launched().at(0)->isRunning());
    EXPECT_THAT(preference("watchFolders").array()->size(), 1U);
}

TEST_F(LiveRunTest, AnOlderHelperThatStillAnswersIsNotTakenForTheNewOne) {
    startHelper(1);
    after(Seconds(1), [this] {
        helper.reset();
        startHelper(fake.processes.launched().at(0)->processID());
    });
    after(Seconds(2), [this] { askToEnd(); });
    const auto outcome = run({"run", "Film"});
    EXPECT_EQ(outcome.status, ExitStatus::done);
    EXPECT_THAT(outcome.output, HasSubstr("Larkspan is running."));
    EXPECT_GT(secondsBetween(dateFromUnixTime(1'700'000'000), fake.clock.now()), Seconds(1.9));
}

TEST_F(LiveRunTest, AHelperThatEndsIsReportedWithItsLastWords) {
    fake.processes.setProgram(helperExecutable(), {.error = "no room\n", .exitStatus = 3});
    const auto outcome = run({"run", "Film"});
    EXPECT_EQ(outcome.status, ExitStatus::failed);
    EXPECT_THAT(outcome.messages,
                AllOf(HasSubstr("The helper ended with status 3."), HasSubstr("  no room\n"),
                      HasSubstr("LarkspanHelper.1.log")));
    fake.processes.setProgram(helperExecutable(), {.exitStatus = 137});
    EXPECT_THAT(run({"run", "Film"}).messages,
                AllOf(HasSubstr("was ended by signal 9"), HasSubstr("Another helper")));
}

TEST_F(LiveRunTest, AHelperThatCannotBeStartedOrDoesNotAnswerFailsTheRun) {
    const auto silent = run({"run", "Film"});
    EXPECT_EQ(silent.status, ExitStatus::failed);
    EXPECT_THAT(silent.messages, HasSubstr("did not answer"));
    EXPECT_FALSE(fake.processes.launched().at(0)->isRunning());
    fake.processes.setProgram(helperExecutable(), {.launchError = Error{"", 0, "no memory"}});
    EXPECT_THAT(run({"run", "Film"}).messages, HasSubstr("cannot be started: no memory"));
    ASSERT_FALSE(fake.files.removeItem(helperExecutable()));
    EXPECT_THAT(run({"run", "Film"}).messages, HasSubstr("The helper is missing"));
    EXPECT_EQ(run({"run", "Missing"}).status, ExitStatus::failed);
}

TEST_F(LiveRunTest, AHelperThatIgnoresTheRequestIsEndedByForce) {
    fake.processes.setProgram(helperExecutable(),
                              {.runsUntilTerminated = true, .ignoresTermination = true});
    serveWhenLaunched();
    after(Seconds(1), [this] { askToEnd(); });
    const auto outcome = run({"run", "Film"});
    EXPECT_EQ(outcome.status, ExitStatus::done);
    EXPECT_THAT(outcome.messages, HasSubstr("ended by force"));
    EXPECT_FALSE(fake.processes.launched().at(0)->isRunning());
}

}  // namespace
}  // namespace larkspan
