#include "frontend/FrontEndTest.h"
#include "frontend/StatusReport.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class StatusTest : public testing::FrontEndTest {
  protected:
    void watchFilm() {
        const Value film = Value::Dictionary{{"folder", "/Work/Film"}, {"extensions", "fcp"}};
        setPreferences({{"storagePath", "/Store"}, {"watchFolders", Value::Array{film}}});
    }
    void expectTrouble(const std::string& text) {
        const auto outcome = run({"status"});
        EXPECT_EQ(outcome.status, ExitStatus::failed) << text;
        EXPECT_THAT(outcome.output, HasSubstr("Wrong: " + text));
    }
};

TEST_F(StatusTest, WhenAllIsWellItSaysSoFromFacts) {
    watchFilm();
    startHelper();
    helperWatches("/Work/Film");
    helperWatches("/Gone/Project", false, "does not exist");
    addProject("AAAA", "/Work/Film/Cut.fcp");
    addVersion("AAAA", "Cut.00001.fcp", dateFromUnixTime(1'600'000'000));
    fake.clock.advance(Seconds(60));
    addVersion("AAAA", "Cut.00002.fcp", dateFromUnixTime(1'500'000'000));
    lastProblem = Value::Dictionary{{"text", "The disk was full"}, {"date", fake.clock.now()}};
    const auto outcome = run({"status"});
    EXPECT_EQ(outcome.status, ExitStatus::done) << outcome.output;
    EXPECT_THAT(outcome.output,
                AllOf(HasSubstr("process 4711, version 0.1.0"), HasSubstr("/Work/Film  watched"),
                      HasSubstr("Store     /Store"), HasSubstr("1 project\n"),
                      HasSubstr("last version: Cut.fcp 2"), HasSubstr("The disk was full"),
                      Not(HasSubstr("Wrong"))));
    const auto asJson = run({"status", "--json"});
    EXPECT_THAT(asJson.output, AllOf(HasSubstr("\"ok\": true"), HasSubstr("\"processID\": 4711"),
                                     HasSubstr("\"watched\": true"), HasSubstr("\"number\": 2")));
}

TEST_F(StatusTest, WithoutAHelperItStillShowsTheStore) {
    watchFilm();
    const auto outcome = run({"status"});
    EXPECT_EQ(outcome.status, ExitStatus::failed);
    EXPECT_THAT(outcome.output, AllOf(HasSubstr("Helper    not running"),
                                      HasSubstr("Wrong: No helper is running.\n       Start it"),
                                      HasSubstr("Store     /Store")));
    EXPECT_THAT(run({"status", "--json"}).output, HasSubstr("\"ok\": false"));
}

TEST_F(StatusTest, FoldersThatAreNotReallyWatchedAreWrong) {
    startHelper();
    expectTrouble("No folder is watched.");
    watchFilm();
    expectTrouble("/Work/Film is not watched: the helper does not know it yet.");
    helperWatches("/Work/Film", false, "no permission");
    expectTrouble("/Work/Film is not watched: no permission.");
    watchedFolders.clear();
    helperWatches("/Work/Film/", true, "too many folders");
    expectTrouble("/Work/Film is not wholly watched: too many folders.");
    helperWatches("/Work", false, "refused");
    expectTrouble("/Work, the folder of a project, is not watched: refused");
    EXPECT_FALSE(fake.files.removeItem(Path("/Work/Film")));
    expectTrouble("The watched folder /Work/Film is not there.");
}

TEST_F(StatusTest, ANoticeOfAFolderIsNothingWrong) {
    startHelper();
    watchFilm();
    helperWatches("/Work/Film", true, "", "Being looked through for the first time.");
    const auto outcome = run({"status"});
    EXPECT_EQ(outcome.status, ExitStatus::done) << outcome.output;
    EXPECT_THAT(outcome.output,
                HasSubstr("\n          Being looked through for the first time.\n"));
    EXPECT_THAT(run({"status", "--json"}).output,
                HasSubstr("\"notice\": \"Being looked through for the first time.\""));
}

TEST_F(StatusTest, AStoreThatCannotTakeVersionsIsWrong) {
    watchFilm();
    startHelper();
    helperWatches("/Work/Film");
    ASSERT_EQ(run({"status"}).status, ExitStatus::done);
    fake.files.addFile(Path("/Store/D.localized/Settings.plist"), "torn");
    expectTrouble("The settings of a project cannot be read: /Store/D.localized");
    fake.files.setCapacity(50'000'000);
    expectTrouble("The disk of the version store is full");
    ASSERT_FALSE(fake.files.setPermissions(Path("/Store"), 0555));
    expectTrouble("The version store /Store cannot be written.");
    fake.volumes.unmount(Path("/Store"));
    expectTrouble("The volume of the version store /Store is not mounted.");
    setPreferences({{"storagePath", "/Elsewhere"}});
    expectTrouble("The version store /Elsewhere is not there.");
    writeFile(*Preferences::frontEndFile(), "torn");
    expectTrouble("The preferences file ");
}

TEST(StatusReportTest, FoldersOfFinalCutAreWatchedThroughTheirProjects) {
    const HelperFacts helper;
    const WatchFolder entry{Path("/Movies/Final Cut Projects"), "fcpproject"};
    const FolderStatus status = folderStatus(entry, true, &helper);
    EXPECT_EQ(status.watched, Watched::throughProjects);
    EXPECT_FALSE(folderTrouble(status));
    EXPECT_EQ(folderStatus(entry, true, nullptr).watched, Watched::unknown);
}

}  // namespace
}  // namespace larkspan
