#include "platform/fake/FakeApplications.h"
#include "platform/fake/FakeBundles.h"
#include "platform/fake/FakeMainThread.h"
#include "platform/fake/FakeStandardPlaces.h"
#include "platform/linux/LinuxApplications.h"
#include "platform/linux/LinuxProcesses.h"
#include "platform/linux/ProcessTable.h"
#include "support/Pump.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace larkspan::platform {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

const std::string editorID = "com.example.Editor";
const std::string otherID = "com.example.Other";

struct FakeScene {
    FakeClock clock;
    FakeMainThread mainThread{clock};
    FakeApplications applications;

    RunningApplication start(const std::string& identifier) {
        return applications.start(identifier);
    }
    void end(const RunningApplication& application) { applications.end(application); }
    Path install(const std::string& identifier) {
        applications.install(identifier, Path("/Applications/Editor.app"));
        return Path("/Applications/Editor.app");
    }
};

// Applications are bundles in the test's folder with a program that sleeps.
struct LinuxScene {
    testing::TemporaryFolder folder;
    LinuxMainThread mainThread;
    FakeBundles bundles;
    FakeStandardPlaces places{folder.path()};
    LinuxProcesses processes;
    LinuxApplications applications{
        mainThread, bundles, places, processes, {{"sleeper", "com.example.Table"}}};
    std::vector<std::shared_ptr<Process>> started;

    LinuxScene() = default;
    LinuxScene(const LinuxScene&) = delete;
    LinuxScene& operator=(const LinuxScene&) = delete;
    ~LinuxScene() {
        for (const auto& process : started) process->kill();
    }

    static void writeInfo(const Path& bundle, const std::string& identifier) {
        fs::create_directories((bundle / "Contents/MacOS").str());
        std::ofstream((bundle / "Contents/Info.plist").str())
            << "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" << identifier
            << "</string></dict></plist>";
    }
    // A bundle below home/Applications, named after the last part of the identifier.
    Path install(const std::string& identifier, const char* below = "") const {
        const std::string name = Path(identifier).pathExtension();
        Path bundle = places.home / "Applications" / below / (name + ".app");
        writeInfo(bundle, identifier);
        fs::copy_file("/bin/sleep", (bundle / "Contents/MacOS" / name).str(),
                      fs::copy_options::skip_existing);
        return bundle;
    }
    int launch(const Path& executable) { return launch(executable, places.home); }
    int launch(const Path& executable, const Path& home) {
        const std::map<std::string, std::string> environment{{"HOME", home.str()}};
        auto process = processes.launch(
            {.launchPath = executable, .arguments = {"60"}, .environment = environment});
        if (!process) throw std::runtime_error(process.error().description);
        started.push_back(*process);
        const int number = (*process)->processID();
        // The program may still be being loaded.
        const auto isLoaded = [&] { return homeOfProcess(number, home).has_value(); };
        if (!testing::pumpUntil(mainThread, isLoaded)) throw std::runtime_error("not loaded");
        return number;
    }
    RunningApplication start(const std::string& identifier) {
        const Path bundle = install(identifier);
        const std::string name = bundle.deletingPathExtension().lastPathComponent();
        const int number = launch(bundle / "Contents/MacOS" / name);
        for (const auto& application : applications.runningApplications(identifier)) {
            if (application.processID == number) return application;
        }
        return {};
    }
    void end(const RunningApplication& application) {
        for (const auto& process : started) {
            if (process->processID() != application.processID) continue;
            process->terminate();
            (void)process->waitUntilExit();
        }
    }
};

template <class Scene>
class ApplicationsContract : public ::testing::Test {
  protected:
    std::vector<int> running(const std::string& identifier) {
        std::vector<int> numbers;
        for (const auto& application : scene.applications.runningApplications(identifier)) {
            numbers.push_back(application.processID);
        }
        return numbers;
    }
    Scene scene;
};
using Scenes = ::testing::Types<FakeScene, LinuxScene>;
TYPED_TEST_SUITE(ApplicationsContract, Scenes);

TYPED_TEST(ApplicationsContract, RunningOnesAreFoundByIdentifierOldestFirst) {
    const RunningApplication first = this->scene.start(editorID);
    const RunningApplication other = this->scene.start(otherID);
    const RunningApplication second = this->scene.start(editorID);
    EXPECT_EQ(this->running(editorID), (std::vector{first.processID, second.processID}));
    EXPECT_EQ(this->running(otherID), std::vector{other.processID});
    EXPECT_TRUE(this->running("com.example.None").empty());
    EXPECT_TRUE(this->running("").empty());
    this->scene.end(first);
    EXPECT_EQ(this->running(editorID), std::vector{second.processID});
}

TYPED_TEST(ApplicationsContract, ForcedTerminationEndsOneApplicationOnce) {
    auto& applications = this->scene.applications;
    const RunningApplication first = this->scene.start(editorID);
    const RunningApplication second = this->scene.start(editorID);
    EXPECT_TRUE(applications.forceTerminate(first));
    EXPECT_TRUE(testing::pumpUntil(this->scene.mainThread, [&] {
        return this->running(editorID) == std::vector{second.processID};
    }));
    EXPECT_FALSE(applications.forceTerminate(first));
    EXPECT_EQ(this->running(editorID), std::vector{second.processID});
}

TYPED_TEST(ApplicationsContract, ObserversHearOfThoseThatRanAtTheLastLook) {
    auto& applications = this->scene.applications;
    std::vector<int> ended;
    const RunningApplication before = this->scene.start(editorID);
    auto observation = applications.observeTerminations([&](const RunningApplication& application) {
        EXPECT_EQ(application.bundleIdentifier, editorID);
        ended.push_back(application.processID);
    });
    const RunningApplication unseen = this->scene.start(editorID);
    this->scene.end(unseen);
    const RunningApplication later = this->scene.start(editorID);
    applications.lookForApplications();
    applications.lookForApplications();
    this->scene.end(later);
    EXPECT_TRUE(testing::pumpUntil(this->scene.mainThread, [&] { return !ended.empty(); }));
    this->scene.end(before);
    EXPECT_TRUE(testing::pumpUntil(this->scene.mainThread, [&] { return ended.size() > 1; }));
    EXPECT_EQ(ended, (std::vector{later.processID, before.processID}));

    const RunningApplication last = this->scene.start(editorID);
    applications.lookForApplications();
    observation.reset();
    this->scene.end(last);
    testing::pumpFor(this->scene.mainThread, 5ms);
    EXPECT_EQ(ended.size(), 2U);
}

TYPED_TEST(ApplicationsContract, InstalledBundlesAreFoundByIdentifier) {
    EXPECT_FALSE(this->scene.applications.bundlePathForIdentifier(editorID));
    const Path path = this->scene.install(editorID);
    EXPECT_EQ(this->scene.applications.bundlePathForIdentifier(editorID), path);
    EXPECT_FALSE(this->scene.applications.bundlePathForIdentifier(""));
}

class LinuxApplicationsTests : public ApplicationsContract<LinuxScene> {};

// A record whose number names another process by now, told by the time of its start or by its
// executable.
TEST_F(LinuxApplicationsTests, AProcessThatGotTheNumberOfAnotherIsNotKilled) {
    const RunningApplication application = scene.start(editorID);
    RunningApplication earlier = application;
    earlier.started -= 10ms;
    EXPECT_FALSE(scene.applications.forceTerminate(earlier));
    RunningApplication different = application;
    different.executable = Path("/bin/sleep");
    EXPECT_FALSE(scene.applications.forceTerminate(different));
    EXPECT_FALSE(scene.applications.forceTerminate({}));
    EXPECT_TRUE(scene.started.front()->isRunning());
}

TEST_F(LinuxApplicationsTests, AFileIsOpenedByTheBundlesExecutable) {
    const Path bundle = scene.folder.path() / "Touch.app";
    const Path file = scene.folder.path() / "a file; with $signs";
    EXPECT_FALSE(scene.applications.openFile(file, bundle));
    LinuxScene::writeInfo(bundle, editorID);
    EXPECT_FALSE(scene.applications.openFile(file, bundle)) << "names no executable";
    std::ofstream((bundle / "Contents/Info.plist").str())
        << "<plist version=\"1.0\"><dict><key>CFBundleExecutable</key><string>tool</string>"
           "</dict></plist>";
    EXPECT_FALSE(scene.applications.openFile(file, bundle)) << "has no executable";
    fs::create_symlink("/usr/bin/touch", (bundle / "Contents/MacOS/tool").str());
    EXPECT_TRUE(scene.applications.openFile(file, bundle));
    EXPECT_TRUE(testing::pumpUntil(scene.mainThread, [&] { return fs::exists(file.str()); }));
}

TEST_F(LinuxApplicationsTests, AnApplicationReplacedByAnUpdateIsStillKnown) {
    const RunningApplication application = scene.start(editorID);
    const std::string executable = application.executable.str();
    ASSERT_FALSE(executable.empty());
    fs::copy_file("/bin/sleep", executable + ".new");
    fs::rename(executable + ".new", executable);
    ASSERT_EQ(running(editorID), std::vector{application.processID});
    EXPECT_TRUE(scene.applications.forceTerminate(application));
    EXPECT_EQ(scene.started.front()->waitUntilExit(), 128 + 9);
}

TEST_F(LinuxApplicationsTests, TheInnermostBundleGivesTheIdentifier) {
    const Path outer = scene.install(otherID);
    const Path inner = outer / "Contents/Inner.app";
    LinuxScene::writeInfo(inner, editorID);
    fs::copy_file("/bin/sleep", (inner / "Contents/MacOS/Inner").str());
    const int number = scene.launch(inner / "Contents/MacOS/Inner");
    EXPECT_EQ(running(editorID), std::vector{number});
    EXPECT_TRUE(running(otherID).empty());
    // An Info.plist that changes is read again.
    LinuxScene::writeInfo(inner, "com.example.Renamed");
    fs::last_write_time((inner / "Contents/Info.plist").str(),
                        fs::file_time_type::clock::now() + 5s);
    EXPECT_EQ(running("com.example.Renamed"), std::vector{number});
}

TEST_F(LinuxApplicationsTests, TheTableNamesExecutablesOutsideBundles) {
    const Path executable = scene.folder.path() / "sleeper";
    fs::copy_file("/bin/sleep", executable.str());
    const int number = scene.launch(executable);
    EXPECT_EQ(running("com.example.Table"), std::vector{number});
}

TEST_F(LinuxApplicationsTests, BundlesOneFolderDownAreFoundAndTheOnesAroundTheProgramFirst) {
    const Path below = scene.install(editorID, "Video");
    EXPECT_EQ(scene.applications.bundlePathForIdentifier(editorID), below);
    (void)scene.install("com.example.Deep", "Video/Tools");
    EXPECT_FALSE(scene.applications.bundlePathForIdentifier("com.example.Deep"));
    (void)scene.install("com.corvane.Larkspan");
    EXPECT_EQ(scene.applications.bundlePathForIdentifier("com.corvane.Larkspan"),
              scene.bundles.around.front().path);
}

TEST_F(LinuxApplicationsTests, ThoseInAnotherHomeAreNotOurs) {
    const Path bundle = scene.install(editorID);
    (void)scene.launch(bundle / "Contents/MacOS/Editor", Path("/elsewhere"));
    EXPECT_TRUE(running(editorID).empty());
}

TEST_F(LinuxApplicationsTests, ManyThatEndAtOnceAreAllReported) {
    std::vector<RunningApplication> applications(5);
    for (RunningApplication& application : applications) application = scene.start(editorID);
    size_t ended = 0;
    const auto observation =
        scene.applications.observeTerminations([&](const RunningApplication&) { ++ended; });
    for (const RunningApplication& application : applications) scene.end(application);
    EXPECT_TRUE(testing::pumpUntil(scene.mainThread, [&] { return ended == applications.size(); }));
}

}  // namespace
}  // namespace larkspan::platform
