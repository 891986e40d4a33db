#include "app/AppController.h"
#include "app/LarkspanHelperAppDelegate.h"
#include "app/ZBProject.h"
#include "platform/Connections.h"
#include "support/StoreTest.h"

#include <algorithm>
#include <cerrno>
#include <future>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::StartsWith;
using namespace std::chrono_literals;

class AppControllerTest : public testing::StoreTest {
  protected:
    AppControllerTest() {
        setPreferences(preferences);
        save(Path("/Work/Cut.fcp"), "one", 1h);
        fake.applications.startSelf("com.corvane.LarkspanHelper");
    }
    void launch() { delegate.applicationDidFinishLaunching(); }
    AppController& controller() { return *delegate.controller(); }
    void finishRuns() {
        controller().scanQueue().waitUntilAllOperationsAreFinished();
        fake.mainThread.runPosted();
    }
    void reportChange(const char* folder) {
        fake.fileEvents.reportChange(Path(folder));
        fake.mainThread.runPosted();
        finishRuns();
    }
    // In steps, since what a timer starts runs on another thread.
    void letTimePass(std::chrono::milliseconds duration) {
        constexpr std::chrono::milliseconds step = 100ms;
        for (auto passed = 0ms; passed < duration; passed += step) {
            fake.mainThread.advance(step);
            finishRuns();
        }
    }
    std::vector<std::string> allVersions() {
        std::vector<std::string> names;
        for (const std::string& folder : namesIn(Path("/Store"))) {
            for (auto& name : namesIn(Path("/Store") / folder / "Versions")) names.push_back(name);
        }
        std::ranges::sort(names);
        return names;
    }

    Value::Dictionary preferences{
        {"storagePath", "/Store"},
        {"watchFolders",
         Value::Array{Value::Dictionary{{"folder", "/Work"}, {"extensions", "fcp"}}}}};
    LarkspanHelperAppDelegate delegate;
};

TEST_F(AppControllerTest, StartsWatchesAndScans) {
    launch();
    finishRuns();
    EXPECT_TRUE(controller().hasConnection());
    EXPECT_EQ(ZBFSEvents::sharedController().watchPaths(), std::vector{Path("/Work")});
    EXPECT_EQ(controller().backupController().projects().size(), 1U);
    EXPECT_THAT(allVersions(), ElementsAre("Cut.00001.fcp")) << "the state that was found";
    EXPECT_THAT(fake.mainThread.timerIntervals(), ElementsAre(Seconds(630)));
    const auto lines = loggedLines();
    for (const char* line :
         {"Currently running instances: 1", "Setting up...", "Watch paths: (\"/Work\")",
          "Beginning scheduled backup...", "Backup interval: 630", "Processing projects...",
          "No projects found"}) {
        EXPECT_THAT(lines, Contains(line).Times(1));
    }
    EXPECT_THAT(lines, Contains(StartsWith("Populating projects from folders: ")).Times(1));
}

TEST_F(AppControllerTest, AChangeBecomesAVersionWhenItHasComeToRest) {
    launch();
    finishRuns();
    save(Path("/Work/Cut.fcp"), "two", 1s);
    reportChange("/Work");
    EXPECT_THAT(allVersions(), ElementsAre("Cut.00001.fcp"));
    const char* waiting = "File /Work/Cut.fcp is currently being written to. Waiting...";
    EXPECT_THAT(loggedLines(), Contains(waiting).Times(1));
    reportChange("/Work");
    ASSERT_EQ(fake.mainThread.timerIntervals().size(), 2U) << "one timer beside the scheduled one";
    letTimePass(3100ms);
    EXPECT_THAT(allVersions(), ElementsAre("Cut.00001.fcp", "Cut.00002.fcp"));
    const auto lines = loggedLines();
    EXPECT_THAT(lines, Contains(waiting).Times(1));
    EXPECT_THAT(lines, Contains("File /Work/Cut.fcp finished writing.").Times(1));
    EXPECT_THAT(lines, Contains(StartsWith("File system events: ({date = ")));
    EXPECT_EQ(fake.mainThread.timerIntervals().size(), 1U);
}

TEST_F(AppControllerTest, NoticesASaveByWhateverNameLinksGiveItsFolder) {
    fake.files.addLink(Path("/Link"), "/Work");
    fake.files.addLink(Path("/Other"), "/Work");
    preferences["watchFolders"] = Value::Array{
        Value::Dictionary{{"folder", "/Work"}, {"extensions", "fcp"}},
        Value::Dictionary{{"folder", "/Other"}, {"extensions", "fcp"}},
    };
    setPreferences(preferences);
    (void)ZBProject::projectWithPath(Path("/Link/Cut.fcp"));
    save(Path("/Work/New.fcp"), "one", 1h);
    launch();
    finishRuns();
    save(Path("/Work/Cut.fcp"), "two", 5s);
    save(Path("/Work/New.fcp"), "two", 5s);
    reportChange("/Other");
    EXPECT_THAT(allVersions(),
                ElementsAre("Cut.00001.fcp", "Cut.00002.fcp", "New.00001.fcp", "New.00002.fcp"));
}

TEST_F(AppControllerTest, WhatNeverRestsHoldsNothingUpAndIsTakenOnceAMinute) {
    save(Path("/Work/Other.fcp"), "one", 1h);
    launch();
    finishRuns();
    for (int second = 0; second < 150; second += 2) {
        save(Path("/Work/Cut.fcp"), "at " + std::to_string(second), 0s);
        if (second == 20) save(Path("/Work/Other.fcp"), "two", 10s);
        reportChange("/Work");
        if (second == 20) {
            EXPECT_THAT(allVersions(), Contains("Other.00002.fcp"));
        }
        letTimePass(2s);
    }
    EXPECT_THAT(allVersions(), ElementsAre("Cut.00001.fcp", "Cut.00002.fcp", "Cut.00003.fcp",
                                           "Other.00001.fcp", "Other.00002.fcp"));
    EXPECT_THAT(loggedLines(), Contains(StartsWith("File /Work/Cut.fcp keeps being")).Times(1));
    letTimePass(5s);
    EXPECT_THAT(allVersions(), Contains("Cut.00004.fcp")) << "its last state";
}

TEST_F(AppControllerTest, WorksOffWhatPilesUpInOneRun) {
    launch();
    finishRuns();
    const long before = controller().scanQueue().runsQueued();
    std::promise<void> held;
    controller().scanQueue().addOperation([&] { held.get_future().wait(); });
    Value::Array many;
    for (int i = 0; i < 30; ++i) {
        many.emplace_back(Value::Dictionary{{"path", "/Work/" + std::to_string(i) + "/"}});
    }
    controller().fileSystemEventsReceived({Value::Dictionary{{"path", "/Work/a/"}}});
    controller().fileSystemEventsReceived(many);
    controller().fileSystemEventsReceived(many);
    EXPECT_EQ(controller().scanQueue().runsQueued(), before + 2);
    held.set_value();
    finishRuns();
    EXPECT_THAT(loggedLines(),
                Contains("Processing projects in /Work/a, /Work/0, /Work/1, /Work/2, /Work/3, "
                         "/Work/4, /Work/5, /Work/6, and 23 more..."));
    // An empty batch looks everywhere.
    controller().fileSystemEventsReceived({});
    EXPECT_EQ(controller().scanQueue().runsQueued(), before + 3);
    finishRuns();
}

TEST_F(AppControllerTest, IgnoresTheFrontEndsRestoreButStillLooksForProjects) {
    launch();
    finishRuns();
    preferences["lastRestoredProject"] = "/Work/Cut.fcp";
    preferences["lastRestoreDate"] = ago(10s);
    setPreferences(preferences);
    save(Path("/Work/Cut.fcp"), "restored", 10s);
    save(Path("/Work/New.fcp"), "new", 10s);
    reportChange("/Work");
    EXPECT_THAT(loggedLines(), Contains("Ignoring event due to recent project restore."));
    EXPECT_THAT(allVersions(), ElementsAre("Cut.00001.fcp", "New.00001.fcp"));
    fake.clock.advance(15s);
    reportChange("/Work");
    EXPECT_THAT(allVersions(), Contains("Cut.00002.fcp"));
}

TEST_F(AppControllerTest, NothingIsRegisteredWhileSettingsCannotBeRead) {
    launch();
    finishRuns();
    const Path store = Path("/Store") / namesIn(Path("/Store")).front();
    fake.faults.refusePath(store, EIO);
    controller().beginScheduledBackup();
    finishRuns();
    EXPECT_EQ(namesIn(Path("/Store")).size(), 1U);
    fake.faults.refusePath(Path("/Store"), ESTALE);
    controller().beginScheduledBackup();
    finishRuns();
    fake.faults.refusePath(Path("/Store"), 0);
    fake.faults.refusePath(store, 0);
    EXPECT_EQ(namesIn(Path("/Store")).size(), 1U);
    EXPECT_THAT(allVersions(), ElementsAre("Cut.00001.fcp"));
    const auto lines = loggedLines();
    EXPECT_THAT(lines, Contains(StartsWith("Unable to read the settings of project")).Times(1));
    EXPECT_THAT(lines, Contains(StartsWith("Unable to read the version store: ")).Times(1));
}

TEST_F(AppControllerTest, WhatCannotBeReadAtTheStartIsWatchedOnceItCan) {
    const auto setUps = [this] {
        const auto lines = loggedLines();
        return std::ranges::count(lines, "Setting up...");
    };
    long before = 0;
    for (const Path& unread : {*Preferences::frontEndFile(), Path("/Store")}) {
        fake.files.addFolder(Path("/Store"));
        fake.faults.refusePath(unread, EIO);
        if (before == 0) {
            launch();
        } else {
            controller().setup();
        }
        letTimePass(20s);
        EXPECT_EQ(setUps(), ++before) << unread.str();
        fake.faults.refusePath(unread, 0);
        letTimePass(40s);
        EXPECT_EQ(setUps(), ++before) << unread.str();
        EXPECT_EQ(ZBFSEvents::sharedController().watchPaths(), std::vector{Path("/Work")});
    }
    EXPECT_THAT(allVersions(), ElementsAre("Cut.00001.fcp"));
}

TEST_F(AppControllerTest, AStoreThatCannotBeReadKeepsNobodyBusy) {
    launch();
    finishRuns();
    save(Path("/Work/Cut.fcp"), "two", 1s);
    reportChange("/Work");
    fake.faults.refusePath(Path("/Store"), EIO);
    letTimePass(20s);
    EXPECT_THAT(loggedLines(), Contains(StartsWith("Unable to read the version store: ")).Times(1));
    fake.faults.refusePath(Path("/Store"), 0);
    letTimePass(20s);
    EXPECT_THAT(allVersions(), ElementsAre("Cut.00001.fcp", "Cut.00002.fcp"));
}

TEST_F(AppControllerTest, EachConfigurationAddsATimer) {
    launch();
    preferences["backupMinInterval"] = 5;
    setPreferences(preferences);
    const auto client = fake.connections.connect("LarkspanHelper", 1s);
    ASSERT_TRUE(client);
    EXPECT_EQ((*client)->call("updateConfiguration", 1s), std::nullopt);
    EXPECT_EQ((*client)->call("updateConfiguration", 1s), std::nullopt);
    EXPECT_THAT(fake.mainThread.timerIntervals(),
                ElementsAre(Seconds(630), Seconds(330), Seconds(330)));
    finishRuns();
    const long before = controller().scanQueue().runsQueued();
    fake.mainThread.advance(Seconds(631));
    finishRuns();
    EXPECT_THAT(controller().scanQueue().runsQueued(),
                ::testing::AllOf(::testing::Gt(before), ::testing::Le(before + 3)));
    EXPECT_THAT(loggedLines(), Contains("Beginning scheduled backup...").Times(6)) << "all three";
}

TEST_F(AppControllerTest, ServesItsCommandsAndFacts) {
    launch();
    finishRuns();
    const auto client = fake.connections.connect("LarkspanHelper", 1s);
    ASSERT_TRUE(client);
    const auto integer = [&](const char* name) {
        return (*client)->property(name, 1s).value().integerValue();
    };
    EXPECT_EQ(integer("runsEnded"), 2);
    EXPECT_EQ((*client)->call("startBackupScan", 1s), std::nullopt);
    EXPECT_EQ(integer("runsQueued"), 3);
    const size_t announced = storeChangesAnnounced();
    EXPECT_EQ((*client)->call("filesBackedUp", 1s), std::nullopt);
    EXPECT_EQ(storeChangesAnnounced(), announced + 1);
    EXPECT_TRUE((*client)->call("quit", 1s));
    fake.fileEvents.setNotice(Path("/Work"), "A notice.");
    const Value folders = (*client)->property("watchedFolders", 1s).value();
    ASSERT_EQ(folders.array()->size(), 1U);
    EXPECT_EQ(*folders.array()->front().find("folder"), Value("/Work"));
    EXPECT_EQ(*folders.array()->front().find("watched"), Value(true));
    EXPECT_EQ(*folders.array()->front().find("notice"), Value("A notice."));
    finishRuns();
}

TEST_F(AppControllerTest, EndsOlderInstancesOnly) {
    const auto first = fake.applications.start("com.corvane.LarkspanHelper");
    fake.applications.end({.processID = platform::FakeApplications::ownProcessID});
    fake.applications.startSelf("com.corvane.LarkspanHelper");
    const auto newer = fake.applications.start("com.corvane.LarkspanHelper");
    launch();
    const auto ended = fake.applications.forceTerminated();
    ASSERT_EQ(ended.size(), 1U);
    EXPECT_EQ(ended[0].processID, first.processID);
    EXPECT_NE(ended[0].processID, newer.processID);
    finishRuns();
    const auto lines = loggedLines();
    EXPECT_THAT(lines, Contains("Currently running instances: 3"));
    EXPECT_THAT(lines, Contains("Force quitting helper: 1").Times(1));
}

TEST_F(AppControllerTest, RunsWithoutAConnectionUntilThereIsOne) {
    platform::FakeConnections other(fake.mainThread, fake.connections);
    auto served = other.serve("LarkspanHelper", {});
    ASSERT_TRUE(served);
    launch();
    finishRuns();
    EXPECT_FALSE(controller().hasConnection());
    EXPECT_EQ(controller().backupController().projects().size(), 1U);
    fake.mainThread.advance(10s);
    EXPECT_FALSE(controller().hasConnection());
    served->reset();
    fake.mainThread.advance(10s);
    EXPECT_TRUE(controller().hasConnection());
}

TEST_F(AppControllerTest, AnswersWorkspaceEvents) {
    launch();
    finishRuns();
    using platform::SessionEvent;
    for (const auto event :
         {SessionEvent::becameActive, SessionEvent::resignedActive, SessionEvent::willPowerOff,
          SessionEvent::willSleep, SessionEvent::didWake}) {
        fake.sessionEvents.send(event);
    }
    fake.mainThread.runPosted();
    const auto lines = loggedLines();
    EXPECT_THAT(std::vector<std::string>(lines.end() - 5, lines.end()),
                ElementsAre("System event: user logged in.", "System event: user logged out.",
                            "System event: shutdown.", "System event: entering sleep mode...",
                            "System event: woke from sleep"));

    const long before = controller().scanQueue().runsQueued();
    controller().appTerminated("com.apple.FinalCutPro");
    EXPECT_EQ(controller().scanQueue().runsQueued(), before);
    controller().appTerminated("com.apple.FinalCut");
    finishRuns();
    EXPECT_EQ(controller().scanQueue().runsQueued(), before + 1);
    controller().diskMounted(Path("/Volumes/Disk"));
    EXPECT_EQ(controller().scanQueue().runsQueued(), before + 2);
    finishRuns();
}

TEST_F(AppControllerTest, EndsInOrder) {
    launch();
    finishRuns();
    fake.clock.advance(5s);
    delegate.applicationWillTerminate();
    EXPECT_EQ(*Preferences::ownDefaults().object("exit"), Value(fake.clock.now()));
    fake.sessionEvents.send(platform::SessionEvent::willSleep);
    fake.mainThread.runPosted();
    EXPECT_THAT(loggedLines(), Not(Contains("System event: entering sleep mode...")));
}

TEST_F(AppControllerTest, ReadsAndWritesTheFrontEndsPreferences) {
    EXPECT_EQ(AppController::objectForPreferenceDictionaryKey("storagePath"), Value("/Store"));
    EXPECT_EQ(AppController::objectForPreferenceDictionaryKey("missing"), std::nullopt);
    AppController::setObjectForPreferenceDictionaryKey(Value(7), "xmlLimit");
    AppController::setObjectForPreferenceDictionaryKey(std::nullopt, "storagePath");
    EXPECT_EQ(AppController::objectForPreferenceDictionaryKey("xmlLimit"), Value(7));
    EXPECT_EQ(AppController::objectForPreferenceDictionaryKey("storagePath"), Value("/Store"));
}

TEST_F(AppControllerTest, TheEventWatcherKeepsItsOddities) {
    ZBFSEvents& events = ZBFSEvents::sharedController();
    events.startWatchingPaths({});
    EXPECT_EQ(events.watchPaths(), std::vector<Path>());
    events.addWatchPaths({Path("/A"), Path("/B"), Path("/A")}, 1s);
    events.removeWatchPaths({Path("/A")}, 1s);
    EXPECT_EQ(events.watchPaths(), std::vector{Path("/B")});
    events.setDelegate(nullptr);
    fake.fileEvents.reportChange(Path("/B"));
    fake.mainThread.runPosted();
    events.stopWatching();
    EXPECT_EQ(events.watchPaths(), std::nullopt);
    EXPECT_TRUE(events.running());

    struct Recorder final : FileSystemEventsDelegate {
        void fileSystemEventsReceived(const Value::Array& received) override { last = received; }
        Value::Array last;
    } recorder;
    events.setDelegate(&recorder);
    events.startWatchingPaths({Path("/B")});
    fake.fileEvents.reportChange(Path("/B/x"), 0x10);
    fake.mainThread.runPosted();
    ASSERT_EQ(recorder.last.size(), 1U);
    EXPECT_EQ(*recorder.last[0].find("flag"), Value("0010"));
    EXPECT_EQ(*recorder.last[0].find("path"), Value("/B/x/"));
    EXPECT_EQ(*recorder.last[0].find("date"), Value(fake.clock.now()));
    EXPECT_TRUE(recorder.last[0].find("id")->integer());
    events.stopWatching();
    events.setDelegate(nullptr);
}

}  // namespace
}  // namespace larkspan
