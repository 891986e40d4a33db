#include "platform/linux/LinuxProcesses.h"
#include "platform/posix/FileDescriptor.h"
#include "support/TemporaryFolder.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

using namespace std::chrono_literals;

bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

class LinuxProcessesTests : public ::testing::Test {
  protected:
    std::shared_ptr<Process> shell(
        const std::string& script,
        std::optional<std::map<std::string, std::string>> environment = std::nullopt,
        Stream input = Stream::nullDevice) {
        auto launched = processes.launch({.launchPath = Path("/bin/sh"),
                                          .arguments = {"-c", script, "sh", "a b", "", "\"ü"},
                                          .environment = std::move(environment),
                                          .input = input,
                                          .output = Stream::pipe,
                                          .error = Stream::pipe});
        if (!launched) throw std::runtime_error(launched.error().description);
        return *launched;
    }
    std::string output(
        const std::string& script,
        std::optional<std::map<std::string, std::string>> environment = std::nullopt) {
        const auto process = shell(script, std::move(environment));
        std::string all;
        for (std::string chunk; !(chunk = process->readAvailableOutput()).empty();) all += chunk;
        (void)process->waitUntilExit();
        return all;
    }

    LinuxProcesses processes;
};

TEST_F(LinuxProcessesTests, WhatIsWrittenArrivesUntilItIsEndedAndNeverWaits) {
    const auto cat = shell("exec cat", std::nullopt, Stream::pipe);
    EXPECT_EQ(cat->writeInput("one"), 0);
    EXPECT_EQ(cat->readAvailableOutput(), "one");
    EXPECT_EQ(cat->writeInput(std::string(4097, 'x')), E2BIG);
    cat->endInput();
    EXPECT_EQ(cat->writeInput("two"), EPIPE);
    EXPECT_EQ(cat->readAvailableOutput(), "");
    EXPECT_EQ(cat->waitUntilExit(), 0);

    const auto deaf = shell("exec sleep 60", std::nullopt, Stream::pipe);
    int status = 0;
    for (int page = 0; status == 0 && page < 1000; ++page) {
        status = deaf->writeInput(std::string(4096, 'x'));
    }
    EXPECT_EQ(status, EAGAIN);
    deaf->kill();
    (void)deaf->waitUntilExit();
    EXPECT_EQ(deaf->writeInput("x"), EPIPE);
}

TEST_F(LinuxProcessesTests, ArgumentsAndEnvironmentArriveAsGiven) {
    EXPECT_EQ(output("printf '%s|' \"$@\""), "a b||\"ü|");
    EXPECT_EQ(output("printf %s \"$KEY\"; test -z \"$HOME\" && printf only",
                     std::map<std::string, std::string>{{"KEY", "x=y z"}}),
              "x=y zonly");
    EXPECT_EQ(output("test -n \"$PATH\" && printf ours"), "ours");
}

TEST_F(LinuxProcessesTests, NothingButTheStandardStreamsIsInherited) {
    // A descriptor that somebody forgot to close for children.
    const FileDescriptor careless(::fcntl(STDIN_FILENO, F_DUPFD, 100));
    ASSERT_TRUE(careless);
    EXPECT_EQ(output("ls /proc/$$/fd; :"), "0\n1\n2\n");
}

TEST_F(LinuxProcessesTests, ClosedStandardStreamsOfOursDoNotMixUpTheChilds) {
    const FileDescriptor keptInput(::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3));
    const FileDescriptor keptOutput(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3));
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    const auto process = shell("read -r nothing; echo out; echo err >&2");
    const std::string text = process->readAvailableOutput() + process->readAvailableError();
    ::dup2(keptInput.get(), STDIN_FILENO);
    ::dup2(keptOutput.get(), STDOUT_FILENO);
    EXPECT_EQ(text, "out\nerr\n");
}

TEST_F(LinuxProcessesTests, SignalsAreAsAtTheStartOfAProgram) {
    struct sigaction before = {};
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &ignore, &before);
    sigset_t blocked;
    sigset_t maskBefore;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &blocked, &maskBefore);
    const std::string status = output("sed -nE 's/Sig(Ign|Blk):.//p' /proc/self/status");
    ::pthread_sigmask(SIG_SETMASK, &maskBefore, nullptr);
    ::sigaction(SIGPIPE, &before, nullptr);
    // Two lines of sixteen digits. The C library keeps two signals above 31 to itself.
    ASSERT_EQ(status.size(), 34U) << status;
    EXPECT_EQ(status.substr(0, 16), "0000000000000000");
    EXPECT_EQ(std::stoull(status.substr(17), nullptr, 16) & 0x7fffffffU, 0U) << status;
}

TEST_F(LinuxProcessesTests, AnInputPipeStaysOpenWhileItRunsAndNoLonger) {
    auto process = shell("read -r line || echo ended", std::nullopt, Stream::pipe);
    std::thread killer([&] { process->terminate(); });
    EXPECT_EQ(process->readAvailableOutput(), "");
    killer.join();
    EXPECT_EQ(process->waitUntilExit(), 128 + SIGTERM);
}

TEST_F(LinuxProcessesTests, MoreThanAPipeHoldsArrivesWhole) {
    EXPECT_EQ(output("head -c 1000000 /dev/zero").size(), 1'000'000U);
}

// A zombie is a child that still has its number; this process has no other children.
TEST_F(LinuxProcessesTests, NobodyStaysAsAZombieThoughNobodyWaits) {
    std::vector<int> numbers(20);
    for (int& number : numbers) number = shell("exit 1")->processID();  // the object goes at once
    for (const int number : numbers) {
        EXPECT_TRUE(eventually([&] { return ::kill(number, 0) != 0 && errno == ESRCH; }));
    }
}

TEST_F(LinuxProcessesTests, ChildrenOfOthersAreLeftToThem) {
    const auto ours = shell("exec sleep 60");
    const pid_t theirs = ::fork();
    if (theirs == 0) ::_exit(7);
    EXPECT_EQ(shell("exit 0")->waitUntilExit(), 0);
    int status = 0;
    EXPECT_EQ(::waitpid(theirs, &status, 0), theirs);
    EXPECT_EQ(WEXITSTATUS(status), 7);
    ours->kill();
    EXPECT_EQ(ours->waitUntilExit(), 128 + SIGKILL);
}

TEST_F(LinuxProcessesTests, AChildReapedByOthersCountsAsEnded) {
    const auto process = shell("exec sleep 60");
    process->kill();
    // Either side may be first; the status is known only when it was ours.
    (void)::waitpid(process->processID(), nullptr, 0);
    const int status = process->waitUntilExit();
    EXPECT_TRUE(status == -1 || status == 128 + SIGKILL) << status;
    process->terminate();
}

TEST_F(LinuxProcessesTests, WhatIsNoProgramIsAnError) {
    const testing::TemporaryFolder folder;
    const Path path = folder.path() / "nonsense";
    std::ofstream(path.str()) << "echo no interpreter named\n";
    std::filesystem::permissions(path.str(), std::filesystem::perms::owner_all);
    const auto code = [&](const LaunchRequest& request) {
        const auto launched = processes.launch(request);
        return launched ? 0L : launched.error().code;
    };
    EXPECT_EQ(code({.launchPath = path}), ENOEXEC);
    EXPECT_EQ(code({.launchPath = folder.path()}), EACCES);
    EXPECT_EQ(code({.launchPath = Path("/bin/sh"), .arguments = {std::string("a\0b", 3)}}), EINVAL);
}

}  // namespace
}  // namespace larkspan::platform
