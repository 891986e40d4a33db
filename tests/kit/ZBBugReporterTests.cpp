#include "kit/Identifiers.h"
#include "kit/ZBBugReporter.h"
#include "kit/ZBLocalPaths.h"
#include "support/FakePlatformTest.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr auto logLine = "Application crashed on last launch";

class BugReporterTest : public testing::FakePlatformTest {
  protected:
    BugReporterTest() {
        Value::Dictionary info = *fake.bundles.main.info.dictionary();
        info["CFBundleName"] = "LarkspanHelper";
        fake.bundles.main.info = Value(info);
        ZBLog::createNewLog();
    }
    // The last run began 60 seconds ago.
    void launchedBefore() {
        ZBBugReporter::startBugReporter();
        launch = fake.clock.now();
        fake.clock.advance(Seconds(60));
    }
    static Path logs(UserDomain domain) { return *ZBLocalPaths::logDirectory(domain); }
    Path addReport(const char* name, Seconds sinceLaunch,
                   const Path& folder = logs(UserDomain::yes) / "CrashReporter") {
        writeFile(folder / name, "report",
                  launch + platform::FakeClock::inNanoseconds(sinceLaunch));
        return folder / name;
    }
    void setOrganisationSwitch(Value value) {
        ASSERT_FALSE(Preferences::setObject(
            *ZBLocalPaths::prefsDirectory(UserDomain::yes) / organisationPreferencesFile,
            "disable-crash-reporter", std::move(value)));
    }

    Date launch;
};

TEST_F(BugReporterTest, StampsTheStartAndTheEnd) {
    const Date start = fake.clock.now();
    ZBBugReporter::startBugReporter();
    EXPECT_EQ(*Preferences::ownDefaults().object("launch"), Value(start));
    EXPECT_EQ(Preferences::ownDefaults().object("exit"), nullptr);
    fake.clock.advance(Seconds(60));
    ZBBugReporter::stopBugReporter();
    EXPECT_EQ(*Preferences::ownDefaults().object("exit"), Value(start + std::chrono::seconds(60)));
    EXPECT_EQ(*Preferences::ownDefaults().object("launch"), Value(start));
}

TEST_F(BugReporterTest, StampsLieInAFileThatIsGivenAndReplaceWhatCannotBeRead) {
    const Path file("/Shared/stamps.plist");
    writeFile(file, "rubbish");
    ZBBugReporter::startBugReporter("Editor", file);
    EXPECT_EQ(*Preferences::load(file).object("launch"), Value(fake.clock.now()));
    ASSERT_FALSE(Preferences::setObject(file, "kept", "text"));
    ZBBugReporter::stopBugReporter(file);
    EXPECT_EQ(*Preferences::load(file).object("exit"), Value(fake.clock.now()));
    EXPECT_EQ(*Preferences::load(file).object("kept"), Value("text"));
    EXPECT_EQ(Preferences::ownDefaults().object("launch"), nullptr);
    EXPECT_THAT(loggedLines(), IsEmpty());
}

TEST_F(BugReporterTest, SearchesOnlyAfterALaunchWithoutAnOrderlyEnd) {
    const Path report = addReport("LarkspanHelper_1.crash", Seconds(1e6));
    EXPECT_EQ(ZBBugReporter::checkForCrashes(), std::nullopt) << "never launched";
    ZBBugReporter::startBugReporter();
    launch = fake.clock.now();
    addReport("LarkspanHelper_1.crash", Seconds(1));
    EXPECT_EQ(ZBBugReporter::checkForCrashes(), report) << "never ended";
    ZBBugReporter::stopBugReporter();
    EXPECT_EQ(ZBBugReporter::checkForCrashes(), std::nullopt) << "ended at the launch";
    fake.clock.advance(Seconds(1));
    ZBBugReporter::startBugReporter();
    launch = fake.clock.now();
    addReport("LarkspanHelper_1.crash", Seconds(1));
    EXPECT_EQ(ZBBugReporter::checkForCrashes(), report) << "ended before the launch";
    ASSERT_FALSE(Preferences::setObject(*Preferences::ownDefaultsFile(), "launch", "yesterday"));
    EXPECT_EQ(ZBBugReporter::checkForCrashes(), std::nullopt) << "no date";
}

TEST_F(BugReporterTest, KnowsReportsByTheStartOfTheirName) {
    launchedBefore();
    struct Case {
        const char* name;
        bool isOurs;
    };
    for (const Case& one : {Case{"LarkspanHelper_2026.crash", true},
                            {"larkspanhelper_x", true},
                            {"LarkspanHelper-2026.crash", false},
                            {"LarkspanHelper.crash", false},
                            {"xLarkspanHelper_2026.crash", false},
                            {"Larkspan_2026.crash", false}}) {
        const Path report = addReport(one.name, Seconds(5));
        EXPECT_EQ(ZBBugReporter::checkForCrashes().has_value(), one.isOurs) << one.name;
        ASSERT_FALSE(fake.files.removeItem(report));
    }
    const Path other = addReport("Editor_1", Seconds(5));
    EXPECT_EQ(ZBBugReporter::checkForCrashes("Editor"), other);
    EXPECT_EQ(ZBBugReporter::checkForCrashes(""), std::nullopt);
}

TEST_F(BugReporterTest, LooksAtTheLastReportOfEachFolderInTurn) {
    launchedBefore();
    const Path computer = logs(UserDomain::no);
    const Path last = addReport("LarkspanHelper_1", Seconds(5), computer / "DiagnosticReports");
    EXPECT_EQ(ZBBugReporter::checkForCrashes(), last);
    const Path third = addReport("LarkspanHelper_1", Seconds(5), computer / "CrashReporter");
    EXPECT_EQ(ZBBugReporter::checkForCrashes(), third);
    const Path second =
        addReport("LarkspanHelper_1", Seconds(5), logs(UserDomain::yes) / "DiagnosticReports");
    EXPECT_EQ(ZBBugReporter::checkForCrashes(), second);
    addReport("LarkspanHelper_1", Seconds(5));
    addReport("LarkspanHelper_2", Seconds(0));
    EXPECT_EQ(ZBBugReporter::checkForCrashes(), second) << "only the earlier-listed one is newer";
    const Path first = addReport("LarkspanHelper_3", Seconds(5));
    EXPECT_EQ(ZBBugReporter::checkForCrashes(), first);
}

TEST_F(BugReporterTest, OpensTheReportWithTheBugReporterInsideElseTheInstalledOne) {
    launchedBefore();
    const Path report = addReport("LarkspanHelper_1", Seconds(5));
    EXPECT_EQ(ZBBugReporter::checkForCrashes(), report);
    EXPECT_THAT(fake.applications.opened(), IsEmpty());
    const Path elsewhere("/Applications/Bug Reporter.app");
    fake.applications.install(bugReporterBundleIdentifier, elsewhere);
    EXPECT_EQ(ZBBugReporter::checkForCrashes(), report);
    const Path inside = fake.bundles.main.path / "Contents/Resources/Bug Reporter.app";
    ASSERT_FALSE(fake.files.createFolder(inside));
    EXPECT_EQ(ZBBugReporter::checkForCrashes(), report);
    EXPECT_THAT(fake.applications.opened(),
                ElementsAre(Pair(report, elsewhere), Pair(report, inside)));
    EXPECT_THAT(loggedLines(), ElementsAre(logLine, logLine, logLine));
}

TEST_F(BugReporterTest, TheOrganisationsSwitchKeepsTheReportFromTheBugReporter) {
    launchedBefore();
    const Path report = addReport("LarkspanHelper_1", Seconds(5));
    fake.applications.install(bugReporterBundleIdentifier, Path("/Applications/Bug Reporter.app"));
    const std::vector<std::pair<Value, bool>> cases = {{"1", true},     {true, true}, {1, true},
                                                       {"true", false}, {"0", false}, {2, false}};
    for (const auto& [value, isSet] : cases) {
        setOrganisationSwitch(value);
        const size_t opened = fake.applications.opened().size();
        const size_t reported = fake.console.reported().size();
        const size_t logged = loggedLines().size();
        EXPECT_EQ(ZBBugReporter::checkForCrashes(), report);
        EXPECT_EQ(fake.applications.opened().size() - opened, isSet ? 0U : 1U) << describe(value);
        EXPECT_EQ(fake.console.reported().size() - reported, isSet ? 1U : 0U) << describe(value);
        const auto lines = loggedLines();
        ASSERT_EQ(lines.size() - logged, isSet ? 2U : 1U) << describe(value);
        EXPECT_EQ(lines.back(), isSet ? "Crash reporter disabled" : logLine);
    }
    EXPECT_EQ(fake.console.reported().front(), "Crash reporter disabled");
}

struct Told final : ZBBugReporterDelegate {
    void applicationDidCrashWithLog(const Path& log) override { logs.push_back(log); }
    std::vector<Path> logs;
};

TEST_F(BugReporterTest, TellsTheDelegateLaterAndStampsTheNewLaunch) {
    const auto told = std::make_shared<Told>();
    ZBBugReporter::startBugReporterWithDelegate(told);
    fake.mainThread.runPosted();
    EXPECT_THAT(told->logs, IsEmpty());
    launch = fake.clock.now();
    fake.clock.advance(Seconds(60));
    const Path report = addReport("LarkspanHelper_1", Seconds(5));
    setOrganisationSwitch(true);
    ZBBugReporter::startBugReporterWithDelegate(told);
    EXPECT_THAT(told->logs, IsEmpty()) << "told before start-up went on";
    fake.mainThread.runPosted();
    EXPECT_THAT(told->logs, ElementsAre(report));
    EXPECT_EQ(told.use_count(), 1);
    ZBBugReporter::startBugReporterWithDelegate(told);
    fake.mainThread.runPosted();
    EXPECT_EQ(told->logs.size(), 1U) << "a report is acted on once";
}

TEST_F(BugReporterTest, GivesAFileBackToTheUserInWhoseHomeItLies) {
    const Path tool("/usr/sbin/chown");
    writeFile(tool, "");
    ASSERT_FALSE(fake.files.setPermissions(tool, 0755));
    fake.processes.setProgram(tool, {});
    struct Case {
        const char* path;
        const char* owner;
    };
    for (const Case& one : {Case{"/Users/kim/a.plist", "kim"},
                            {"/Disk/Users/lee/b/-c.plist", "lee"},
                            {"/Users", ""},
                            {"/Shared/a.plist", ""},
                            {"/Users/-R/a.plist", ""},
                            {"/Users/kim/missing.plist", ""}}) {
        const std::string path = one.path;
        if (path.ends_with(".plist") && !path.ends_with("missing.plist")) writeFile(Path(path), "");
        const size_t before = fake.processes.launches().size();
        ZBBugReporter::chownPlist(Path(path));
        const auto launches = fake.processes.launches();
        ASSERT_EQ(launches.size() - before, *one.owner ? 1U : 0U) << path;
        if (!*one.owner) continue;
        EXPECT_EQ(launches.back().launchPath, tool);
        EXPECT_THAT(launches.back().arguments, ElementsAre(one.owner, path));
    }
    ZBBugReporter::stopBugReporter(Path("/Users/kim/stamps.plist"));
    EXPECT_EQ(fake.processes.launches().size(), 3U);
}

TEST_F(BugReporterTest, LeavesReportsOfItsOwnWhereTheSearchLooksFirstAndKeepsTheNewest) {
    const Path folder = logs(UserDomain::yes) / "CrashReporter";
    addReport("Editor_1.crash", Seconds(0));
    addReport("LarkspanHelper_1.txt", Seconds(0));
    for (int i = 10; i < 40; ++i) {
        addReport(("LarkspanHelper_" + std::to_string(i) + ".crash").c_str(), Seconds(0));
    }
    ZBBugReporter::leaveReports();
    const auto names = namesIn(folder);
    ASSERT_EQ(names.size(), 22U);
    EXPECT_EQ(names[2], "LarkspanHelper_20.crash");
    ASSERT_EQ(fake.crashReports.begun.size(), 1U);
    const platform::CrashReportForm form = fake.crashReports.begun.front();
    EXPECT_EQ(form.folder, folder);
    EXPECT_EQ(form.application, "LarkspanHelper");
    EXPECT_EQ(form.version, "0.1");

    fake.crashReports.refusal = Error{"domain", 1, "no room"};
    ZBBugReporter::leaveReports();
    EXPECT_THAT(fake.console.reported(), ElementsAre("Unable to write crash reports: no room"));

    fake.crashReports.refusal.reset();
    fake.faults.refuseCall(platform::FileOperation::createFolder, 1, EIO);
    ZBBugReporter::leaveReports();
    EXPECT_EQ(fake.crashReports.begun.size(), 2U);
    EXPECT_EQ(fake.console.reported().size(), 2U);
}

}  // namespace
}  // namespace larkspan
