#include "app/AppController.h"
#include "app/LarkspanHelperAppDelegate.h"
#include "platform/Connections.h"
#include "support/StoreTest.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;
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
    std::vector<std::string> allVersions() {
        std::vector<std::string> names;
        for (const std::string& folder : namesIn(Path("/Store"))) {
            for (auto& name : namesIn(Path("/Store") / folder / "Versions")) names.push_back(name);
        }
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
    EXPECT_THAT(fake.mainThread.timerIntervals(), ElementsAre(Seconds(630)));
    EXPECT_THAT(
        loggedLines(),
        UnorderedElementsAre("Currently running instances: 1", "Setting up...",
                             "Watch paths: (\"/Work\")", "Beginning scheduled backup...",
                             "Backup interval: 630", "Processing projects...", "No projects found",
                             StartsWith("Populating projects from folders: ")));
}

TEST_F(AppControllerTest, AChangeBecomesAVersion) {
    launch();
    finishRuns();
    fake.fileEvents.reportChange(Path("/Work"));
    fake.mainThread.runPosted();
    finishRuns();
    EXPECT_THAT(allVersions(), ElementsAre("Cut.00001.fcp"));
    save(Path("/Work/Cut.fcp"), "two", 0s);
    fake.fileEvents.reportChange(Path("/Work"));
    fake.mainThread.runPosted();
    finishRuns();
    EXPECT_THAT(allVersions(), ElementsAre("Cut.00001.fcp", "Cut.00002.fcp"));
    EXPECT_THAT(loggedLines(), Contains(StartsWith("File system events: ({date = ")));
}

TEST_F(AppControllerTest, QueuesABackupPerFolderAndOneDiscovery) {
    launch();
    finishRuns();
    const long before = controller().scanQueue().runsQueued();
    const auto event = [](const char* path) { return Value::Dictionary{{"path", path}}; };
    controller().fileSystemEventsReceived({event("/Work/a/"), event("/Work/b/")});
    EXPECT_EQ(controller().scanQueue().runsQueued(), before + 3);
    finishRuns();
    EXPECT_EQ(controller().scanQueue().runsEnded(), before + 3);
    const auto lines = loggedLines();
    EXPECT_THAT(lines, Contains("Processing projects in /Work/a..."));
    EXPECT_THAT(lines, Contains("Processing projects in /Work/b..."));
    // An empty batch looks everywhere.
    controller().fileSystemEventsReceived({});
    EXPECT_EQ(controller().scanQueue().runsQueued(), before + 4);
    finishRuns();
}

TEST_F(AppControllerTest, IgnoresTheFrontEndsRestoreButStillLooksForProjects) {
    preferences["lastRestoredProject"] = "/Work/Cut.fcp";
    preferences["lastRestoreDate"] = ago(10s);
    setPreferences(preferences);
    launch();
    finishRuns();
    const long before = controller().scanQueue().runsQueued();
    controller().fileSystemEventsReceived({Value::Dictionary{{"path", "/Work/"}}});
    EXPECT_EQ(controller().scanQueue().runsQueued(), before + 1);
    EXPECT_THAT(loggedLines(), Contains("Ignoring event due to recent project restore."));
    fake.clock.advance(15s);
    controller().fileSystemEventsReceived({Value::Dictionary{{"path", "/Work/"}}});
    EXPECT_EQ(controller().scanQueue().runsQueued(), before + 3);
    finishRuns();
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
    // Two runs for the first timer, and for each of the others as well.
    EXPECT_EQ(controller().scanQueue().runsQueued(), before + 6);
    finishRuns();
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
    EXPECT_EQ(integer("runsQueued"), 4);
    const size_t announced = storeChangesAnnounced();
    EXPECT_EQ((*client)->call("filesBackedUp", 1s), std::nullopt);
    EXPECT_EQ(storeChangesAnnounced(), announced + 1);
    EXPECT_TRUE((*client)->call("quit", 1s));
    const Value folders = (*client)->property("watchedFolders", 1s).value();
    ASSERT_EQ(folders.array()->size(), 1U);
    EXPECT_EQ(*folders.array()->front().find("folder"), Value("/Work"));
    EXPECT_EQ(*folders.array()->front().find("watched"), Value(true));
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

TEST_F(AppControllerTest, RunsWithoutAConnection) {
    platform::FakeConnections other(fake.mainThread, fake.connections);
    const auto served = other.serve("LarkspanHelper", {});
    ASSERT_TRUE(served);
    launch();
    finishRuns();
    EXPECT_FALSE(controller().hasConnection());
    EXPECT_EQ(controller().backupController().projects().size(), 1U);
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
    EXPECT_EQ(controller().scanQueue().runsQueued(), before + 2);
    controller().diskMounted(Path("/Volumes/Disk"));
    EXPECT_EQ(controller().scanQueue().runsQueued(), before + 3);
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
