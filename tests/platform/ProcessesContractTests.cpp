#include "platform/fake/FakeProcesses.h"
#include "platform/linux/LinuxProcesses.h"
#include "support/TemporaryFolder.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>

namespace larkspan::platform {
namespace {

// Five programs at these paths, and two paths that cannot be launched.
struct Programs {
    Path speaks;       // "out" and "err", status 3
    Path silent;       // status 0
    Path waits;        // "ready", then runs until it is terminated
    Path deaf;         // "ready", then runs until it is killed
    Path leavesChild;  // status 0; a child of its own keeps the pipes open
    Path missing;
    Path unreadable;
};

struct FakeScene {
    FakeProcesses processes;
    Programs programs{Path("/speaks"), Path("/silent"),  Path("/waits"),     Path("/deaf"),
                      Path("/leaves"), Path("/missing"), Path("/unreadable")};

    FakeScene() {
        processes.setProgram(programs.speaks, {.output = "out", .error = "err", .exitStatus = 3});
        processes.setProgram(programs.silent, {});
        processes.setProgram(programs.waits, {.output = "ready", .runsUntilTerminated = true});
        processes.setProgram(
            programs.deaf,
            {.output = "ready", .runsUntilTerminated = true, .ignoresTermination = true});
        processes.setProgram(programs.leavesChild, {.leavesPipesOpen = true});
        processes.setProgram(programs.unreadable, {.launchError = posixError(EACCES, "no")});
    }
};

struct LinuxScene {
    testing::TemporaryFolder folder;
    LinuxProcesses processes;
    Programs programs{
        program("speaks", "printf out; printf err >&2; exit 3"),
        program("silent", ":"),
        program("waits", "printf ready; exec sleep 60"),
        program("deaf", "trap '' TERM; printf ready; exec sleep 60"),
        program("leaves", "sleep 60 & echo $! > " + (folder.path() / "child").str()),
        folder.path() / "missing",
        program("unreadable", ":"),
    };

    LinuxScene() {
        std::filesystem::permissions(programs.unreadable.str(), std::filesystem::perms::none);
    }
    LinuxScene(const LinuxScene&) = delete;
    LinuxScene& operator=(const LinuxScene&) = delete;
    ~LinuxScene() {
        int child = 0;
        if (std::ifstream((folder.path() / "child").str()) >> child) ::kill(child, SIGKILL);
    }
    Path program(const char* name, const std::string& script) const {
        Path path = folder.path() / name;
        std::ofstream(path.str()) << "#!/bin/sh\n" << script << "\n";
        std::filesystem::permissions(path.str(), std::filesystem::perms::owner_all);
        return path;
    }
};

template <class Scene>
class ProcessesContract : public ::testing::Test {
  protected:
    std::shared_ptr<Process> launch(const Path& path) {
        auto launched = scene.processes.launch(
            {.launchPath = path, .output = Stream::pipe, .error = Stream::pipe});
        if (!launched) throw std::runtime_error(launched.error().description);
        return *launched;
    }
    Scene scene;
};
using Scenes = ::testing::Types<FakeScene, LinuxScene>;
TYPED_TEST_SUITE(ProcessesContract, Scenes);

TYPED_TEST(ProcessesContract, BothStreamsAreReadToTheirEndAndTheStatusIsTold) {
    const auto process = this->launch(this->scene.programs.speaks);
    EXPECT_GT(process->processID(), 0);
    EXPECT_EQ(process->readAvailableOutput(), "out");
    EXPECT_EQ(process->readAvailableOutput(), "");
    EXPECT_EQ(process->readAvailableOutput(), "");
    EXPECT_EQ(process->readAvailableError(), "err");
    EXPECT_EQ(process->readAvailableError(), "");
    EXPECT_EQ(process->waitUntilExit(), 3);
    EXPECT_EQ(process->waitUntilExit(), 3);
    EXPECT_FALSE(process->isRunning());
    process->terminate();
    process->kill();
    EXPECT_EQ(process->waitUntilExit(), 3);
}

TYPED_TEST(ProcessesContract, WithoutPipesThereIsNothingToRead) {
    auto launched = this->scene.processes.launch({.launchPath = this->scene.programs.speaks});
    ASSERT_TRUE(launched);
    EXPECT_EQ((*launched)->readAvailableOutput(), "");
    EXPECT_EQ((*launched)->readAvailableError(), "");
    EXPECT_EQ((*launched)->writeInput("x"), EPIPE);
    EXPECT_EQ((*launched)->waitUntilExit(), 3);
}

TYPED_TEST(ProcessesContract, TerminationIsAskedForAndKillingIsNot) {
    const auto polite = this->launch(this->scene.programs.waits);
    EXPECT_EQ(polite->readAvailableOutput(), "ready");
    EXPECT_TRUE(polite->isRunning());
    polite->terminate();
    EXPECT_EQ(polite->waitUntilExit(), 128 + 15);

    const auto deaf = this->launch(this->scene.programs.deaf);
    EXPECT_EQ(deaf->readAvailableOutput(), "ready");
    deaf->terminate();
    EXPECT_TRUE(deaf->isRunning());
    deaf->kill();
    EXPECT_EQ(deaf->waitUntilExit(), 128 + 9);
}

TYPED_TEST(ProcessesContract, StoppingEndsAReadInAnotherThreadForGood) {
    const auto process = this->launch(this->scene.programs.waits);
    EXPECT_EQ(process->readAvailableOutput(), "ready");
    std::string output = "not read yet";
    std::string error = "not read yet";
    std::thread outputReader([&] { output = process->readAvailableOutput(); });
    std::thread errorReader([&] { error = process->readAvailableError(); });
    process->stopReading();
    outputReader.join();
    errorReader.join();
    EXPECT_EQ(output, "");
    EXPECT_EQ(error, "");
    EXPECT_EQ(process->readAvailableOutput(), "");
    process->stopReading();
    process->kill();
    (void)process->waitUntilExit();
}

TYPED_TEST(ProcessesContract, APipeKeptOpenByAGrandchildIsLeftByStopping) {
    const auto process = this->launch(this->scene.programs.leavesChild);
    std::string output = "not read yet";
    std::thread reader([&] { output = process->readAvailableOutput(); });
    EXPECT_EQ(process->waitUntilExit(), 0);
    process->stopReading();
    reader.join();
    EXPECT_EQ(output, "");
}

TYPED_TEST(ProcessesContract, AProgramThatCannotBeStartedIsAnError) {
    const auto code = [&](const Path& path) {
        const auto launched = this->scene.processes.launch({.launchPath = path});
        if (launched) return 0L;
        EXPECT_EQ(launched.error().domain, posixErrorDomain);
        return launched.error().code;
    };
    EXPECT_EQ(code(this->scene.programs.missing), ENOENT);
    EXPECT_EQ(code(this->scene.programs.unreadable), EACCES);
    EXPECT_EQ(code(Path("speaks")), EINVAL);
    EXPECT_EQ(code(Path()), EINVAL);
}

TYPED_TEST(ProcessesContract, ManyRunAtOnce) {
    std::vector<std::thread> threads(8);
    for (std::thread& thread : threads) {
        thread = std::thread([this] {
            const auto process = this->launch(this->scene.programs.speaks);
            EXPECT_EQ(process->readAvailableOutput(), "out");
            EXPECT_EQ(process->waitUntilExit(), 3);
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(FakeProcessesTests, KeepsWhatWasLaunched) {
    FakeScene scene;
    (void)scene.processes.launch({.launchPath = scene.programs.missing});
    (void)scene.processes.launch({.launchPath = scene.programs.silent, .arguments = {"-a", "b c"}});
    ASSERT_EQ(scene.processes.launches().size(), 1U);
    EXPECT_EQ(scene.processes.launches()[0].arguments, (std::vector<std::string>{"-a", "b c"}));
    EXPECT_EQ(scene.processes.launched().size(), 1U);
}

}  // namespace
}  // namespace larkspan::platform
