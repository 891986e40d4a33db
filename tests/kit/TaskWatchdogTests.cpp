#include "kit/TaskFixture.h"
#include "kit/TaskWatchdog.h"

#include <csignal>

namespace larkspan {
namespace {

using testing::FakeTaskFixture;
using testing::ShellTaskFixture;
using namespace std::chrono_literals;

std::string readAndWait(RunningTask& task, platform::LaunchRequest request, int* status) {
    request.output = platform::Stream::pipe;
    const auto process = *task.launch(request);
    std::string all;
    for (std::string chunk; !(chunk = process->readAvailableOutput()).empty();) all += chunk;
    *status = process->waitUntilExit();
    return all;
}

class TaskWatchdogPrograms : public ShellTaskFixture {};

// The output of a program that does not listen and whose child keeps the pipe open.
TEST_F(TaskWatchdogPrograms, TheCallerGetsItsThreadBackWhateverThePipeAndTheProgramDo) {
    const std::string number = (folder.path() / "number").str();
    const std::string text =
        "trap '' TERM; echo so far; sleep 60 & echo $! > '" + number + "'; wait";
    std::string all;
    int status = 0;
    EXPECT_TRUE(whileServingEvents([&] {
        const auto task = std::make_shared<RunningTask>();
        const TaskWatchdog watchdog(task, 1s, 20ms);
        all = readAndWait(*task, {.launchPath = shell, .arguments = script(text)}, &status);
    }));
    EXPECT_EQ(all, "so far\n");
    EXPECT_EQ(status, 128 + 9);
    EXPECT_TRUE(printed("Task /bin/sh timed out. Terminating..."));
    const auto child = files.readFile(Path(number), 100);
    ASSERT_TRUE(child);
    ::kill(std::stoi(*child), SIGKILL);
}

class TaskWatchdogTests : public FakeTaskFixture {
  protected:
    // What a run on another thread makes of the program.
    static std::string output(const Path& path, int* status, Seconds grace) {
        const auto task = std::make_shared<RunningTask>();
        const TaskWatchdog watchdog(task, 0s, grace);
        return readAndWait(*task, {.launchPath = path}, status);
    }
    Path deaf() {
        return program(
            "deaf", {.output = "so far", .runsUntilTerminated = true, .ignoresTermination = true});
    }
};

TEST_F(TaskWatchdogTests, WhatDoesNotListenIsKilledAfterTheGrace) {
    const Path path = deaf();
    std::string all;
    int status = 0;
    EXPECT_TRUE(whileServingEvents([&] { all = output(path, &status, 20ms); }));
    EXPECT_EQ(all, "so far");
    EXPECT_EQ(status, 128 + 9);
    EXPECT_TRUE(printed("timed out. Terminating..."));
}

TEST_F(TaskWatchdogTests, WhatListensIsNotKilled) {
    const Path path = program("slow", {.runsUntilTerminated = true});
    int status = 0;
    EXPECT_TRUE(whileServingEvents([&] { (void)output(path, &status, 20s); }));
    EXPECT_EQ(status, 128 + 15);
}

TEST_F(TaskWatchdogTests, AnOpenPipeOfAnEndedProgramIsLeft) {
    const Path path = program("leaves", {.output = "so far", .leavesPipesOpen = true});
    std::string all;
    int status = -1;
    EXPECT_TRUE(whileServingEvents([&] { all = output(path, &status, 20ms); }));
    EXPECT_EQ(all, "so far");
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(printed("timed out"));
}

TEST_F(TaskWatchdogTests, WorksOnWhenTheMainLoopHasEnded) {
    mainThread.terminate();
    const Path path = deaf();
    int status = 0;
    std::thread run([&] { (void)output(path, &status, 20ms); });
    run.join();
    EXPECT_EQ(status, 128 + 9);
    EXPECT_TRUE(printed("timed out"));
}

TEST_F(TaskWatchdogTests, ARunThatEndsInTimeDoesNotWaitForIt) {
    const auto task = std::make_shared<RunningTask>();
    const auto begin = std::chrono::steady_clock::now();
    { const TaskWatchdog neverLaunched(task, 60s, 60s); }
    {
        const TaskWatchdog watchdog(task, 60s, 60s);
        (void)task->launch({.launchPath = program("quick")});
    }
    {
        // Its time-out waits for a main thread that serves nothing.
        const TaskWatchdog watchdog(task, 0s, 60s);
        (void)task->launch({.launchPath = deaf()});
        std::this_thread::sleep_for(20ms);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
}

}  // namespace
}  // namespace larkspan
