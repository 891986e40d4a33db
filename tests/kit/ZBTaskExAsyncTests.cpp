#include "foundation/Guarded.h"
#include "kit/TaskFixture.h"
#include "kit/ZBTaskEx.h"

#include <cerrno>
#include <future>

namespace larkspan {
namespace {

using testing::FakeTaskFixture;
using testing::ShellTaskFixture;
using namespace std::chrono_literals;

// Keeps the chunks that a delegate gets, "|" for the end mark.
class Receiver {
  public:
    ZBTaskEx::Delegate delegate() {
        return [this](const Data& chunk, ZBTaskEx&) {
            received_.with([&](std::string& text) {
                text += chunk.bytes.empty() ? std::string("|") : chunk.bytes;
            });
            if (std::this_thread::get_id() == maker_) onMaker_ = true;
            if (chunk.bytes.empty()) ended_.set_value();
        };
    }
    bool waitForEnd() { return ended_.get_future().wait_for(20s) == std::future_status::ready; }
    std::string received() const { return received_.copy(); }
    bool calledOnMakersThread() const { return onMaker_; }

  private:
    const std::thread::id maker_ = std::this_thread::get_id();
    Guarded<std::string> received_;
    std::atomic<bool> onMaker_{false};
    std::promise<void> ended_;
};

bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(1ms);
    }
    return condition();
}

class ZBTaskExAsyncPrograms : public ShellTaskFixture {};
class ZBTaskExAsync : public FakeTaskFixture {};

TEST_F(ZBTaskExAsyncPrograms, ChunksComeInOrderAndThenTheEndMark) {
    Receiver receiver;
    ZBTaskEx runner;
    runner.asyncDataFromTask(shell, script("printf \"$A\"; printf 2; echo no >&2; printf 3"),
                             receiver.delegate(), {{{"A", "1"}}});
    EXPECT_TRUE(receiver.waitForEnd());
    EXPECT_EQ(receiver.received(), "123|");
    EXPECT_FALSE(receiver.calledOnMakersThread());
    EXPECT_TRUE(eventually([&] { return !runner.theTask(); }));
}

TEST_F(ZBTaskExAsyncPrograms, TerminatingEndsTheProgramAndTellsNobody) {
    Receiver receiver;
    ZBTaskEx runner;
    runner.asyncDataFromTask(shell, script("printf 1; exec sleep 60"), receiver.delegate());
    ASSERT_TRUE(eventually([&] { return receiver.received() == "1"; }));
    const auto process = runner.theTask();
    ASSERT_TRUE(process);
    runner.terminateTask();
    EXPECT_EQ(process->waitUntilExit(), 128 + 15);
    EXPECT_EQ(receiver.received(), "1");
    EXPECT_FALSE(runner.theTask());
    runner.terminateAsyncTask();
}

TEST_F(ZBTaskExAsyncPrograms, DestroyingTheRunnerEndsTheProgram) {
    Receiver receiver;
    auto runner = std::make_unique<ZBTaskEx>();
    runner->asyncDataFromTask(shell, script("printf 1; exec sleep 60"), receiver.delegate());
    ASSERT_TRUE(eventually([&] { return receiver.received() == "1"; }));
    const auto process = runner->theTask();
    runner.reset();
    EXPECT_EQ(process->waitUntilExit(), 128 + 15);
    EXPECT_EQ(receiver.received(), "1");
}

TEST_F(ZBTaskExAsync, TheDelegateIsLetGoAfterTheEndMark) {
    const Path path = program("tool", {.output = "x"});
    auto object = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = object;
    ZBTaskEx runner;
    runner.asyncDataFromTask(path, {}, [kept = std::move(object)](const Data&, ZBTaskEx&) {});
    EXPECT_TRUE(eventually([&] { return watched.expired(); }));
}

TEST_F(ZBTaskExAsync, WhatCannotBeExecutedIsLoggedAndTheDelegateNotTold) {
    Receiver receiver;
    for (const Path& path : {folder.path() / "missing", addFile("plain", "", 0644)}) {
        ZBLog::finishWriting();
        ZBLog::createNewLog();
        ZBTaskEx runner;
        runner.asyncDataFromTask(path, {}, receiver.delegate());
        EXPECT_TRUE(eventually([&] {
            return logged("Unable to launch async task - task does not exist or is not executable");
        }));
    }
    EXPECT_FALSE(printed("Unable"));
    EXPECT_EQ(receiver.received(), "");
}

TEST_F(ZBTaskExAsync, APackageIsNotRefusedButALaunchErrorIsLogged) {
    const Path path = folder.path() / "Tool.app";
    ASSERT_FALSE(files.createFolder(path));
    processes.setProgram(path, {.launchError = posixError(EACCES, "Could not launch")});
    Receiver receiver;
    ZBTaskEx runner;
    runner.asyncDataFromTask(path, {}, receiver.delegate());
    EXPECT_TRUE(eventually([&] {
        return printed(
            "Exception in -[ZBTaskEx launchAsyncTask]. NSInvalidArgumentException - "
            "Could not launch: Permission denied.");
    }));
    EXPECT_EQ(receiver.received(), "");
}

TEST_F(ZBTaskExAsync, AnExceptionOfTheDelegateEndsTheRun) {
    const Path path = program("tool", {.output = "x", .runsUntilTerminated = true});
    ZBTaskEx runner;
    runner.asyncDataFromTask(
        path, {}, [](const Data&, ZBTaskEx&) { throw std::runtime_error("full of it"); });
    EXPECT_TRUE(eventually([&] {
        return printed("Exception in -[ZBTaskEx launchAsyncTask]. std::exception - full of it.");
    }));
    EXPECT_EQ(processes.launched().at(0)->waitUntilExit(), 128 + 15);
}

TEST_F(ZBTaskExAsync, ADelegateMayEndTheRunnerOrStartTheNextRun) {
    const Path path = program("tool", {.output = "x", .runsUntilTerminated = true});
    const Path next = program("next", {.output = "y"});
    auto destroyed = std::make_unique<ZBTaskEx>();
    std::promise<void> gone;
    destroyed->asyncDataFromTask(path, {}, [&](const Data&, ZBTaskEx&) {
        destroyed.reset();
        gone.set_value();
    });
    EXPECT_EQ(gone.get_future().wait_for(20s), std::future_status::ready);

    Receiver receiver;
    ZBTaskEx runner;
    runner.asyncDataFromTask(path, {}, [&](const Data&, ZBTaskEx& self) {
        self.asyncDataFromTask(next, {}, receiver.delegate());
    });
    EXPECT_TRUE(receiver.waitForEnd());
    EXPECT_EQ(receiver.received(), "y|");
    for (const auto& process : processes.launched()) (void)process->waitUntilExit();
}

TEST_F(ZBTaskExAsync, ANewRunEndsTheOneBefore) {
    const Path path = program("tool", {.output = "x", .runsUntilTerminated = true});
    Receiver first;
    Receiver second;
    ZBTaskEx runner;
    runner.asyncDataFromTask(path, {}, first.delegate());
    ASSERT_TRUE(eventually([&] { return first.received() == "x"; }));
    runner.asyncDataFromTask(program("next", {.output = "y"}), {}, second.delegate());
    EXPECT_EQ(processes.launched().at(0)->waitUntilExit(), 128 + 15);
    EXPECT_TRUE(second.waitForEnd());
    EXPECT_EQ(first.received(), "x");
    EXPECT_EQ(second.received(), "y|");
}

TEST_F(ZBTaskExAsync, ATimeoutOfItIsLoggedAndEndsTheProgram) {
    const Path path = program("tool", {.output = "x", .runsUntilTerminated = true});
    Receiver receiver;
    ZBTaskEx runner;
    runner.timeout();
    runner.asyncDataFromTask(path, {}, receiver.delegate());
    ASSERT_TRUE(eventually([&] { return receiver.received() == "x"; }));
    runner.timeout();
    EXPECT_TRUE(receiver.waitForEnd());
    EXPECT_TRUE(printed(messageText("Task %@ timed out. Terminating...", path)));
}

}  // namespace
}  // namespace larkspan
