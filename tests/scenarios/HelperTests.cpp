#include "foundation/Uuid.h"
#include "platform/linux/LinuxCrashReports.h"
#include "platform/linux/LinuxPlatform.h"
#include "support/PictureUnderTest.h"
#include "support/Programs.h"
#include "support/XServer.h"

#include <filesystem>
#include <thread>
#include <utility>

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>

namespace larkspan {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using testing::readWhole;
using ::testing::StartsWith;
using testing::waitFor;
using testing::writeWhole;

class HelperTest : public ::testing::Test {
  protected:
    void watchWork() {
        const auto added = programs.larkspan({"watch", "add", programs.work().str()});
        ASSERT_EQ(added.status, 0) << added.error;
    }
    // Saved long enough ago to be at rest.
    Path quietProject(const std::string& name, const std::string& content) {
        Path project = programs.work() / name;
        writeWhole(project, content);
        setAge(project, std::chrono::minutes(10));
        return project;
    }
    static void setAge(const Path& file, std::chrono::seconds age) {
        fs::last_write_time(file.str(), fs::file_time_type::clock::now() - age);
    }
    void expectNewestEquals(const std::string& baseName, const Path& project) {
        const auto files = programs.versions()[baseName];
        ASSERT_FALSE(files.empty());
        EXPECT_EQ(readWhole(files.back()), readWhole(project));
        EXPECT_EQ(fs::last_write_time(files.back().str()), fs::last_write_time(project.str()));
    }
    static std::vector<std::string> hiddenItemsBelow(const Path& folder) {
        std::vector<std::string> found;
        std::error_code ignored;
        for (fs::recursive_directory_iterator at(folder.str(), ignored), end; at != end;
             at.increment(ignored)) {
            std::string name = at->path().filename().string();
            if (name.starts_with(".larkspan-")) found.push_back(std::move(name));
        }
        return found;
    }
    platform::LinuxPlatform system;
    testing::Programs programs{system.platform().processes};
};

TEST_F(HelperTest, OnceKeepsTheStateThatIsFound) {
    watchWork();
    const Path one = quietProject("one.fcp", "first project");
    const Path two = quietProject("deep/er/two.prproj", "second project");
    quietProject("notes.txt", "no project");
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    EXPECT_EQ(programs.versions().size(), 2U);
    expectNewestEquals("one", one);
    expectNewestEquals("two", two);
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    EXPECT_EQ(programs.versions()["one"].size(), 1U);
}

TEST_F(HelperTest, APictureOfTheScreenStandsWithItsVersion) {
    constexpr std::uint32_t orange = 0xE08020;
    constexpr std::uint32_t blue = 0x2040C0;
    const auto server = testing::XServer::start("1600x900x24");
    ASSERT_TRUE(server);
    server->paint(orange, blue);
    programs.setVariable("DISPLAY", server->display());
    watchWork();
    quietProject("one.prproj", "first project");
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    const auto versions = programs.versions()["one"];
    ASSERT_EQ(versions.size(), 1U);
    const Path projectFolder = versions[0].deletingLastPathComponent().deletingLastPathComponent();
    const testing::PictureUnderTest picture(readWhole(projectFolder / "Screenshots/one.00001.jpg"));
    EXPECT_EQ(picture.format(), "jpeg");
    ASSERT_EQ(picture.size(), (platform::PictureSize{.width = 1024, .height = 576}));
    EXPECT_TRUE(picture.shows(100, 300, orange));
    EXPECT_TRUE(picture.shows(900, 300, blue));
}

TEST_F(HelperTest, LibrariesThatOnlySomeWorkNeedsAreNotThereAtRest) {
    watchWork();
    quietProject("one.fcp", "first project");
    const auto helper = programs.startHelper();
    ASSERT_TRUE(programs.waitForVersions("one", 1)) << programs.log();
    const std::string maps =
        readWhole(Path("/proc/" + std::to_string(helper->processID()) + "/maps"));
    const auto isLoaded = [&](const char* library) { return maps.find(library) != maps.npos; };
    EXPECT_TRUE(isLoaded("libgio"));
    for (const char* library : {"libarchive", "libcurl", "libgdk_pixbuf", "libxcb"}) {
        EXPECT_FALSE(isLoaded(library)) << library;
    }
}

TEST_F(HelperTest, WithoutAScreenThereIsAVersionAndNoPicture) {
    watchWork();
    quietProject("one.prproj", "first project");
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    EXPECT_EQ(programs.versions()["one"].size(), 1U);
    for (const auto& entry : fs::recursive_directory_iterator(programs.store().str())) {
        EXPECT_NE(entry.path().extension(), ".jpg");
    }
}

TEST_F(HelperTest, EverySaveBecomesTheNextVersion) {
    watchWork();
    const auto helper = programs.startHelper();
    const Path project = programs.work() / "new folder/My \"Cut\" 100%.fcp";
    writeWhole(project, "found");
    ASSERT_TRUE(programs.waitForProjects(1)) << programs.log();
    writeWhole(project, "one");
    ASSERT_TRUE(programs.waitForVersions("My \"Cut\" 100%", 1)) << programs.log();
    expectNewestEquals("My \"Cut\" 100%", project);
    writeWhole(project, "two, longer");
    ASSERT_TRUE(programs.waitForVersions("My \"Cut\" 100%", 2)) << programs.log();
    expectNewestEquals("My \"Cut\" 100%", project);
    const auto listing = programs.larkspan({"versions", project.str()});
    EXPECT_EQ(listing.status, 0) << listing.error;
    EXPECT_THAT(listing.output, HasSubstr("2"));

    helper->terminate();
    EXPECT_EQ(helper->waitUntilExit(), 0);
    EXPECT_THAT(readWhole(programs.library() / "Preferences/com.corvane.LarkspanHelper.plist"),
                HasSubstr("<key>exit</key>"));
}

TEST_F(HelperTest, ASaveBehindALinkBecomesTheNextVersion) {
    watchWork();
    const auto helper = programs.startHelper();
    const Path disk = programs.work().deletingLastPathComponent() / "Disk";
    const Path project = disk / "reel/cut.fcp";
    writeWhole(project, "found");
    fs::create_directory_symlink(disk.str(), (programs.work() / "disk").str());
    ASSERT_TRUE(programs.waitForVersions("cut", 1)) << programs.log();
    writeWhole(project, "one, longer");
    ASSERT_TRUE(programs.waitForVersions("cut", 2)) << programs.log();
    expectNewestEquals("cut", project);
}

TEST_F(HelperTest, ABurstOfSavesLosesNothing) {
    watchWork();
    const auto helper = programs.startHelper();
    constexpr int projects = 50;
    const auto saveAll = [&](int save) {
        for (int p = 0; p < projects; ++p) {
            writeWhole(programs.work() / ("p" + std::to_string(p) + ".fcp"),
                       "save " + std::to_string(save) + std::string(1000, 'x'));
        }
    };
    saveAll(0);
    // A new project is only registered at first; what is saved from then on makes versions.
    ASSERT_TRUE(programs.waitForProjects(projects)) << programs.log();
    for (int save = 1; save < 5; ++save) saveAll(save);
    const auto isDone = [&] {
        auto versions = programs.versions();
        if (versions.size() != projects) return false;
        for (const auto& [name, files] : versions) {
            if (readWhole(files.back()) != readWhole(programs.work() / (name + ".fcp"))) {
                return false;
            }
        }
        return true;
    };
    EXPECT_TRUE(waitFor(isDone)) << programs.log();
}

TEST_F(HelperTest, TheNewestInstanceSurvives) {
    watchWork();
    const auto first = programs.startHelper();
    const auto second = programs.startHelper();
    EXPECT_EQ(first->waitUntilExit(), 128 + SIGKILL);
    EXPECT_TRUE(second->isRunning());
    EXPECT_THAT(programs.log(), HasSubstr("Force quitting helper: 1"));
}

TEST_F(HelperTest, OfManyStartedTogetherOneIsLeft) {
    watchWork();
    std::vector<std::shared_ptr<platform::Process>> helpers;
    for (int i = 0; i < 4; ++i) helpers.push_back(programs.launchHelper());
    const auto running = [&] {
        return std::count_if(helpers.begin(), helpers.end(),
                             [](const auto& helper) { return helper->isRunning(); });
    };
    EXPECT_TRUE(waitFor([&] { return running() == 1; }));
    const Path project = programs.work() / "Cut.fcp";
    EXPECT_TRUE(waitFor([&] { return programs.larkspan({"scan", "--wait"}).status == 0; }));
    writeWhole(project, "content");
    EXPECT_TRUE(programs.waitForProjects(1)) << programs.log();
    EXPECT_EQ(programs.larkspan({"scan", "--wait"}).status, 0);
    EXPECT_EQ(programs.versions()["Cut"].size(), 1U) << programs.log();
    EXPECT_EQ(running(), 1);
}

TEST_F(HelperTest, AKilledCopyIsNeverTakenForAVersion) {
    watchWork();
    const Path project = quietProject("Cut.fcp", std::string(64 << 20, 'x'));
    ASSERT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    const auto hasLeftover = [&] {
        std::error_code ignored;
        for (const auto& folder : fs::directory_iterator(programs.store().str(), ignored)) {
            for (const auto& entry : fs::directory_iterator(folder.path() / "Versions", ignored)) {
                if (entry.path().filename().string().starts_with('.')) return true;
            }
        }
        return false;
    };
    // Killed as soon as the copy has begun; now and then it is too fast to be met.
    for (int attempt = 0; attempt < 20 && !hasLeftover(); ++attempt) {
        for (const auto& file : programs.versionsOf("Cut")) fs::remove(file.str());
        const auto helper = programs.launchHelper({"--once"});
        while (helper->isRunning() && !hasLeftover()) {
        }
        ::kill(helper->processID(), SIGKILL);
        (void)helper->waitUntilExit();
        for (const auto& file : programs.versionsOf("Cut")) {
            EXPECT_EQ(readWhole(file), readWhole(project));
        }
    }
    for (const auto& file : programs.versionsOf("Cut")) fs::remove(file.str());
    ASSERT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    EXPECT_EQ(programs.versions()["Cut"].size(), 1U);
    expectNewestEquals("Cut", project);
    EXPECT_FALSE(hasLeftover());
}

TEST_F(HelperTest, OnceAsksAHelperThatRuns) {
    watchWork();
    const auto helper = programs.startHelper();
    const Path project = quietProject("Cut.fcp", "content");
    const auto once = programs.run(programs.helperProgram(), {"--once"});
    EXPECT_EQ(once.status, 0) << once.error;
    expectNewestEquals("Cut", project);
    EXPECT_TRUE(helper->isRunning());
    EXPECT_THAT(programs.log(), Not(HasSubstr("Force quitting helper")));

    // What fails in that helper is told by who asked.
    writeWhole(project, "changed");
    setAge(project, std::chrono::minutes(5));
    const Path versions = programs.versionsOf("Cut").back().deletingLastPathComponent();
    fs::rename(versions.str(), versions.str() + ".away");
    writeWhole(versions, "no folder");
    const auto failed = programs.run(programs.helperProgram(), {"--once"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.error, StartsWith("LarkspanHelper: "));
    helper->terminate();
    EXPECT_EQ(helper->waitUntilExit(), 0);
}

TEST_F(HelperTest, SeveralOnceAtATimeTakeTurns) {
    watchWork();
    quietProject("Cut.fcp", "content");
    std::vector<std::shared_ptr<platform::Process>> helpers;
    for (int i = 0; i < 3; ++i) helpers.push_back(programs.launchHelper({"--once"}));
    for (const auto& helper : helpers) EXPECT_EQ(helper->waitUntilExit(), 0);
    EXPECT_LE(programs.versions()["Cut"].size(), 1U);
}

TEST_F(HelperTest, OnceEndsWithinASecondAndLeavesNothing) {
    watchWork();
    quietProject("Cut.fcp", std::string(256 << 20, 'x'));
    ASSERT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    const auto hidden = [&] { return hiddenItemsBelow(programs.store()); };
    bool wasMet = false;
    // Ended as soon as the copy has begun; now and then it is too fast to be met.
    for (int attempt = 0; attempt < 10 && !wasMet; ++attempt) {
        for (const auto& file : programs.versionsOf("Cut")) fs::remove(file.str());
        const auto helper = programs.launchHelper({"--once"});
        while (helper->isRunning() && hidden().empty()) {
        }
        helper->terminate();
        const auto asked = std::chrono::steady_clock::now();
        const int status = helper->waitUntilExit();
        wasMet = status != 0;
        if (!wasMet) continue;
        EXPECT_EQ(status, 1);
        EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds(1));
        EXPECT_THAT(hidden(), IsEmpty());
        EXPECT_TRUE(programs.versionsOf("Cut").empty());
    }
    EXPECT_TRUE(wasMet);
}

TEST_F(HelperTest, WhatKilledProcessesLeftGoesAtTheNextStart) {
    watchWork();
    quietProject("Cut.fcp", "content");
    ASSERT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    const Path version = programs.versionsOf("Cut").front();
    const Path support = programs.library() / "Application Support/Corvane/Larkspan";
    const Path project = version.deletingLastPathComponent().deletingLastPathComponent();
    const Path folders[] = {programs.library() / "Preferences",
                            support / "Caches",
                            support / "Transfers",
                            programs.store(),
                            project,
                            project / "Versions"};
    for (const Path& folder : folders) {
        writeWhole(folder / (".larkspan-write-" + generateUUID()), "torn");
        writeWhole(folder / (".larkspan-copy-" + generateUUID()) / "part", "torn");
    }
    ASSERT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    EXPECT_THAT(hiddenItemsBelow(programs.library()), IsEmpty());
    EXPECT_TRUE(fs::exists(version.str()));
}

TEST_F(HelperTest, OneHomeWrittenInTwoWaysHasOneHelper) {
    watchWork();
    const auto helper = programs.startHelper();
    programs.setVariable("HOME", programs.home().str() + "//");
    EXPECT_EQ(programs.larkspan({"scan", "--wait"}).status, 0);
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    const auto second = programs.startHelper();
    EXPECT_EQ(helper->waitUntilExit(), 128 + SIGKILL);
    EXPECT_TRUE(second->isRunning());
}

TEST_F(HelperTest, AWatchedHomeComesToRest) {
    ASSERT_EQ(programs.larkspan({"watch", "add", programs.home().str()}).status, 0);
    const auto helper = programs.startHelper();
    fs::create_directories((programs.home() / "Movies").str());
    writeWhole(programs.home() / "Movies/Cut.fcp", "content");
    ASSERT_TRUE(programs.waitForVersions("Cut", 1)) << programs.log();
    ASSERT_EQ(programs.larkspan({"scan", "--wait"}).status, 0);
    // Had the helper's own writing been noticed, this would never be.
    size_t size = 0;
    EXPECT_TRUE(waitFor([&] {
        const size_t before = std::exchange(size, programs.log().size());
        std::this_thread::sleep_for(std::chrono::milliseconds(1500));
        return before == size;
    })) << programs.log();
}

TEST_F(HelperTest, WhatLiesInTheTrashIsNotReplaced) {
    watchWork();
    for (const auto& [key, value] :
         {std::pair("backupManagementMinLimitSet", "0"), {"deleteBackupCount", "1"}}) {
        ASSERT_EQ(programs.larkspan({"prefs", key, value}).status, 0);
    }
    const Path project = quietProject("Cut.fcp", "of long ago");
    setAge(project, std::chrono::hours(9 * 24));
    ASSERT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    // Without an information file, as other programs leave things there.
    const Path contents = programs.home() / ".local/share/Trash/files";
    fs::create_directories(contents.str());
    writeWhole(contents / "Cut.00001.fcp", "somebody else's");
    quietProject("Cut.fcp", "of today");
    ASSERT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    EXPECT_EQ(programs.versionsOf("Cut").size(), 1U);
    EXPECT_EQ(readWhole(contents / "Cut.00001.fcp"), "somebody else's");
    EXPECT_EQ(readWhole(contents / "Cut.00001.fcp.2"), "of long ago");
}

TEST_F(HelperTest, AFullDiskLosesNothing) {
    watchWork();
    const Path project = quietProject("Cut.fcp", std::string(4 << 20, 'x'));
    // In blocks of 512 bytes (or 1024): less than the project needs, enough for the log.
    const auto limited = programs.run(
        Path("/bin/sh"),
        {"-c", "ulimit -f 2048; exec '" + programs.helperProgram().str() + "' --once"});
    EXPECT_EQ(limited.status, 1);
    EXPECT_THAT(limited.error, HasSubstr("LarkspanHelper: Unable to copy project file Cut.fcp: "));
    EXPECT_TRUE(programs.versions().empty());
    EXPECT_THAT(programs.log(), HasSubstr("Unable to copy project file Cut.fcp: "));
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    expectNewestEquals("Cut", project);
}

TEST_F(HelperTest, AWatchFolderMayGoAndComeBack) {
    watchWork();
    const auto helper = programs.startHelper();
    fs::remove_all(programs.work().str());
    fs::create_directories(programs.work().str());
    const Path project = programs.work() / "Cut.fcp";
    writeWhole(project, "found");
    ASSERT_TRUE(programs.waitForProjects(1)) << programs.log();
    writeWhole(project, "back again");
    ASSERT_TRUE(programs.waitForVersions("Cut", 1)) << programs.log();
    expectNewestEquals("Cut", project);
}

TEST_F(HelperTest, ACrashLeavesAReportThatTheNextStartLogsAndHandsOn) {
    if (platform::checkersReportCrashes) GTEST_SKIP() << "the checkers report crashes";
    // A bug reporter that notes what it is given.
    const Path bugReporter = programs.home() / "Applications/Bug Reporter.app/Contents";
    const Path noted = programs.home() / "handed on";
    writeWhole(bugReporter / "Info.plist",
               "<plist version=\"1.0\"><dict>"
               "<key>CFBundleIdentifier</key><string>com.corvane.BugReporter</string>"
               "<key>CFBundleExecutable</key><string>reporter</string></dict></plist>");
    writeWhole(bugReporter / "MacOS/reporter",
               "#!/bin/sh\nprintf %s \"$1\" > \"$HOME/noted\" && mv \"$HOME/noted\" \"$HOME/handed "
               "on\"\n");
    fs::permissions((bugReporter / "MacOS/reporter").str(), fs::perms::owner_all);

    const auto helper = programs.startHelper();
    ASSERT_EQ(::kill(helper->processID(), SIGSEGV), 0);
    EXPECT_EQ(helper->waitUntilExit(), 128 + SIGSEGV);
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    ASSERT_TRUE(waitFor([&] { return fs::exists(noted.str()); }));
    const Path report(readWhole(noted));
    EXPECT_EQ(report.deletingLastPathComponent(), programs.library() / "Logs/CrashReporter");
    EXPECT_THAT(report.lastPathComponent(), StartsWith("LarkspanHelper_"));
    EXPECT_THAT(readWhole(report), AllOf(HasSubstr("LarkspanHelper 0."), HasSubstr("(SIGSEGV)"),
                                         HasSubstr("/LarkspanHelper(")));
    // It was found before the new log was begun.
    const Path logBefore = programs.library() / "Logs/Corvane/LarkspanHelper.2.log";
    EXPECT_THAT(readWhole(logBefore), HasSubstr("Application crashed on last launch"));

    fs::remove(noted.str());
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    EXPECT_FALSE(fs::exists(noted.str()));
    EXPECT_THAT(readWhole(logBefore), Not(HasSubstr("Application crashed on last launch")));
}

TEST_F(HelperTest, LivesWithAwkwardFoldersAndTornPreferences) {
    const Path preferences = programs.library() / "Preferences/com.corvane.Larkspan.plist";
    writeWhole(preferences, "<plist><dict><key>watchFolders</key>");
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    EXPECT_THAT(programs.log(), HasSubstr("Unable to read preferences file "));
    EXPECT_EQ(programs.larkspan({"watch", "add", programs.work().str()}).status, 1);

    fs::remove(preferences.str());
    fs::create_directory_symlink(programs.work().str(), (programs.work() / "loop").str());
    fs::create_symlink("/nowhere", (programs.work() / "dangling.fcp").str());
    ASSERT_EQ(mkfifo((programs.work() / "pipe.fcp").c_str(), 0600), 0);
    quietProject("empty.fcp", "");
    quietProject("new\nline \xff.fcp", "odd name");
    watchWork();
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    EXPECT_EQ(programs.launchHelper({"--once"})->waitUntilExit(), 0);
    const auto versions = programs.versions();
    EXPECT_EQ(versions.count("empty"), 0U);
    EXPECT_EQ(versions.count("new\nline \xff"), 1U);
    EXPECT_EQ(versions.count("dangling"), 0U);
}

}  // namespace
}  // namespace larkspan
