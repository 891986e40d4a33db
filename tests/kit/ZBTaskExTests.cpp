#include "kit/TaskFixture.h"
#include "kit/ZBTaskEx.h"

#include <cerrno>

namespace larkspan {
namespace {

using platform::FakeProgram;
using platform::Stream;
using testing::FakeTaskFixture;
using testing::ShellTaskFixture;
using namespace std::chrono_literals;

class ZBTaskExRules : public FakeTaskFixture {};
class ZBTaskExPrograms : public ShellTaskFixture {};

TEST_F(ZBTaskExRules, WhatIsNoProgramIsRefusedByEveryFamily) {
    ASSERT_FALSE(files.createFolder(folder.path() / "Tool.FcpBundle"));
    const Path refused[] = {folder.path() / "missing", addFile("plain", "", 0644),
                            folder.path() / "Tool.FcpBundle"};
    for (const Path& path : refused) {
        const std::pair<const char*, std::function<bool()>> families[] = {
            {"runTask", [&] { return !ZBTaskEx::runTask(path); }},
            {"dataFromTask", [&] { return !ZBTaskEx::dataFromTask(path); }},
            {"dataFromTask, time-out", [&] { return !ZBTaskEx::dataFromTask(path, {}, 5s); }},
            {"stringFromTask", [&] { return ZBTaskEx::stringFromTask(path) == ""; }},
            {"stringFromTask, time-out",
             [&] { return ZBTaskEx::stringFromTask(path, {}, 5s) == ""; }},
            {"terminationCodeFromTask",
             [&] { return ZBTaskEx::terminationCodeFromTask(path) == -1; }},
            {"terminationCodeFromTask, time-out",
             [&] { return ZBTaskEx::terminationCodeFromTask(path, {}, 5s) == -1; }},
        };
        for (const auto& [name, refuses] : families) EXPECT_TRUE(refuses()) << name << path;
        ZBTaskEx::runTaskAndReturn(path);
        ZBTaskEx::runTask(path, {}, 5s);
        const std::string message = messageText("Error: %@ is not executable", path);
        EXPECT_EQ(std::ranges::count(console.printed(), message), 9);
        EXPECT_TRUE(logged(message));
    }
    EXPECT_TRUE(processes.launches().empty());
}

TEST_F(ZBTaskExRules, AFileNamedLikeAPackageIsAProgram) {
    EXPECT_TRUE(ZBTaskEx::runTask(program("convert.app")));
}

TEST_F(ZBTaskExRules, ErrorOutputStandsInForMissingOutput) {
    const std::tuple<FakeProgram, std::string> cases[] = {
        {FakeProgram{.output = "out", .error = "err", .exitStatus = 1}, "out"},
        {FakeProgram{.error = "err"}, "err"},
        {FakeProgram{}, ""},
    };
    for (const auto& [script, expected] : cases) {
        const Path path = program("tool", script);
        EXPECT_EQ(ZBTaskEx::dataFromTask(path), Data{expected});
        EXPECT_EQ(ZBTaskEx::dataFromTask(path, {}, 9s), Data{expected});
        EXPECT_EQ(ZBTaskEx::stringFromTask(path), expected);
    }
}

TEST_F(ZBTaskExRules, TextThatDoesNotDecodeIsNone) {
    const Path umlaut = program("umlaut", {.output = "für"});
    EXPECT_EQ(ZBTaskEx::stringFromTask(umlaut), std::nullopt);
    EXPECT_EQ(ZBTaskEx::stringFromTask(umlaut, {}, 9s), std::nullopt);
    EXPECT_EQ(ZBTaskEx::stringFromTask(umlaut, {}, TextEncoding::utf8), "für");
    EXPECT_EQ(ZBTaskEx::stringFromTask(umlaut, {}, TextEncoding::utf8, 9s), "für");
    EXPECT_EQ(
        ZBTaskEx::stringFromTask(program("torn", {.output = "f\xc3"}), {}, TextEncoding::utf8),
        std::nullopt);
}

TEST_F(ZBTaskExRules, StreamsAreConnectedAsTheFamilyNeedsThem) {
    const Path path = program("tool", {.output = "out", .error = "err"});
    EXPECT_TRUE(ZBTaskEx::runTask(path, {"-x"}));
    EXPECT_EQ(ZBTaskEx::dataFromTask(
                  path, {}, {.environment = {{{"KEY", "value"}}}, .logOutput = LogOutput::no}),
              Data{"err"});
    EXPECT_EQ(ZBTaskEx::dataFromTask(path), Data{"out"});
    const auto launches = processes.launches();
    ASSERT_EQ(launches.size(), 3U);
    EXPECT_EQ(launches[0].arguments, std::vector<std::string>{"-x"});
    EXPECT_EQ(launches[0].output, Stream::nullDevice);
    EXPECT_EQ(launches[0].error, Stream::nullDevice);
    EXPECT_EQ(launches[1].input, Stream::pipe);
    EXPECT_EQ(launches[1].output, Stream::inherit);
    EXPECT_EQ(launches[1].error, Stream::pipe);
    EXPECT_EQ(launches[1].environment->at("KEY"), "value");
    EXPECT_EQ(launches[2].output, Stream::pipe);
    EXPECT_FALSE(launches[2].environment);
}

TEST_F(ZBTaskExRules, ALaunchThatFailsIsLoggedAndPrintedForData) {
    const Path path = program("broken", {.launchError = posixError(ENOEXEC, "Could not launch")});
    const std::string message =
        messageText("Exception running task %@: Could not launch: Exec format error", path);
    EXPECT_FALSE(ZBTaskEx::runTask(path));
    EXPECT_EQ(ZBTaskEx::terminationCodeFromTask(path), -1);
    ZBTaskEx::runTaskAndReturn(path);
    EXPECT_TRUE(logged(message));
    EXPECT_FALSE(printed("Exception"));
    EXPECT_EQ(ZBTaskEx::dataFromTask(path), std::nullopt);
    EXPECT_TRUE(printed(message));
    EXPECT_EQ(ZBTaskEx::stringFromTask(path), "");
}

TEST_F(ZBTaskExRules, TheExitStatusIsToldOrLeftAside) {
    const Path path = program("tool", {.exitStatus = 7});
    EXPECT_EQ(ZBTaskEx::terminationCodeFromTask(path), 7);
    EXPECT_EQ(ZBTaskEx::terminationCodeFromTask(path, {}, 9s), 7);
    EXPECT_TRUE(ZBTaskEx::runTask(path));
}

TEST_F(ZBTaskExRules, ATimeoutOfLessThanASecondEndsTheProgramAtOnce) {
    const Path path = program("slow", {.output = "so far", .runsUntilTerminated = true});
    std::optional<Data> data;
    std::int32_t status = 0;
    EXPECT_TRUE(whileServingEvents([&] {
        data = ZBTaskEx::dataFromTask(path, {}, 0.9s);
        status = ZBTaskEx::terminationCodeFromTask(path, {}, Seconds(-3));
        ZBTaskEx::runTask(path, {}, 0s);
    }));
    EXPECT_EQ(data, Data{"so far"});
    EXPECT_EQ(status, 128 + 15);
    const std::string message = messageText("Task %@ timed out. Terminating...", path);
    EXPECT_EQ(std::ranges::count(console.printed(), message), 3);
    EXPECT_TRUE(logged(message));
}

// The main thread, which would have to perform the time-out, is the one that waits.
TEST_F(ZBTaskExRules, OnTheMainThreadATimeoutHasNoEffect) {
    const Path path = program("slow", {.runsUntilTerminated = true});
    std::thread friendly([&] {
        while (processes.launched().empty()) std::this_thread::sleep_for(1ms);
        std::this_thread::sleep_for(50ms);
        processes.launched().front()->kill();
    });
    EXPECT_EQ(ZBTaskEx::terminationCodeFromTask(path, {}, 0s), 128 + 9);
    friendly.join();
    testing::pumpFor(mainThread, 10ms);  // what was posted meanwhile finds no process
    EXPECT_FALSE(printed("timed out"));
}

TEST_F(ZBTaskExRules, AnotherThreadCanEndARun) {
    const Path path = program("slow", {.output = "so far", .runsUntilTerminated = true});
    RunningTask running;
    std::thread other([&] {
        while (!running.isRunning()) std::this_thread::sleep_for(1ms);
        running.terminate();
    });
    EXPECT_EQ(ZBTaskEx::dataFromTask(path, {}, {.task = &running}), Data{"so far"});
    other.join();

    RunningTask early;
    early.terminate();
    EXPECT_EQ(ZBTaskEx::terminationCodeFromTask(path, {}, &early), 128 + 15);
}

TEST_F(ZBTaskExPrograms, OutputIsCollectedAndProgramsEnd) {
    EXPECT_EQ(ZBTaskEx::stringFromTask(shell, script("echo a; echo b >&2; echo c")), "a\nc\n");
    EXPECT_EQ(ZBTaskEx::stringFromTask(shell, script("echo only >&2")), "only\n");
    EXPECT_EQ(ZBTaskEx::stringFromTask(shell, script(":")), "");
    EXPECT_EQ(ZBTaskEx::dataFromTask(shell, script("head -c 300000 /dev/zero"))->bytes.size(),
              300'000U);
    EXPECT_EQ(ZBTaskEx::terminationCodeFromTask(shell, script("exit 4")), 4);
    EXPECT_EQ(ZBTaskEx::terminationCodeFromTask(shell, script("kill -9 $$")), 128 + 9);
    EXPECT_EQ(ZBTaskEx::stringFromTask(shell, script("echo quick"), 9s), "quick\n");
}

TEST_F(ZBTaskExPrograms, ALeftProgramRunsOn) {
    const Path trace = folder.path() / "trace";
    ZBTaskEx::runTaskAndReturn(shell, script("echo done > '" + trace.str() + "'"));
    EXPECT_TRUE(testing::pumpUntil(mainThread, [&] {
        const auto info = files.info(trace);
        return info && info->size > 0;
    }));
}

TEST_F(ZBTaskExPrograms, ALastingProgramHasAProcessGroupOfItsOwnAndAnOutputThatEnds) {
    const auto process = ZBTaskEx::runLastingTaskAndReturn(
        Path("/usr/bin/cut"), {"-d", " ", "-f", "5", "/proc/self/stat"});
    ASSERT_NE(process, nullptr);
    EXPECT_EQ(process->readAvailableOutput(), std::to_string(process->processID()) + "\n");
    EXPECT_EQ(process->readAvailableOutput(), "");
    EXPECT_EQ(ZBTaskEx::runLastingTaskAndReturn(folder.path() / "none", {}), nullptr);
}

}  // namespace
}  // namespace larkspan
