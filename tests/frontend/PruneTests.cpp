#include "frontend/FrontEndTest.h"
#include "frontend/RetentionReasons.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class PruneTest : public testing::FrontEndTest {
  protected:
    PruneTest() {
        setRules({});
        for (const char* id : {"AAAA", "BBBB"}) {
            const std::string name = id == std::string("AAAA") ? "Cut" : "Film";
            addProject(id, "/Work/" + name + ".prproj");
            addVersion(id, name + ".00001.prproj", now - 24h * 200, "1");
            addVersion(id, name + ".00002.prproj", now - 24h * 30 - 1h, "2");
            addVersion(id, name + ".00003.prproj", now - 24h * 30, "3");
            addVersion(id, name + ".00004.prproj", now - 1h, "4");
        }
    }
    void setRules(Value::Dictionary rules) {
        rules.emplace("storagePath", "/Store");
        rules.emplace("backupManagementMinLimit", 2);
        setPreferences(rules);
    }

    const Date now = fake.clock.now();
};

TEST_F(PruneTest, ExplainsEveryRemovalAndTouchesNothing) {
    const auto outcome = run({"prune", "--dry-run", "Cut"});
    EXPECT_EQ(outcome.status, ExitStatus::done);
    EXPECT_THAT(outcome.output,
                AllOf(HasSubstr("Cut.00001.prproj"), HasSubstr("It is older than 90 days."),
                      Not(HasSubstr("Cut.00004.prproj")), Not(HasSubstr("Film"))));
    EXPECT_THAT(outcome.messages,
                AllOf(HasSubstr("Every version of the last 1 day before the newest one is kept."),
                      HasSubstr("1 version of each day is kept, up to 30 versions."),
                      HasSubstr("would go")));
    EXPECT_EQ(namesIn(Path("/Store/AAAA.localized/Versions")).size(), 4U);
    EXPECT_THAT(run({"prune", "--dry-run"}).output,
                AllOf(HasSubstr("Cut.00001.prproj"), HasSubstr("Film.00001.prproj")));
}

TEST_F(PruneTest, SaysWhenNothingWouldGo) {
    setRules({{"manageBackups", 0}});
    EXPECT_THAT(run({"prune", "--dry-run"}).messages,
                AllOf(HasSubstr("every version is kept"), HasSubstr("Nothing would go.")));
    EXPECT_EQ(run({"prune", "--dry-run", "--json"}).output, "[]\n");
}

TEST_F(PruneTest, AStoreThatIsNotThereIsSaid) {
    setRules({{"storagePath", "/Gone"}});
    EXPECT_THAT(run({"prune", "--dry-run"}).messages,
                HasSubstr("There is no version store at /Gone."));
}

TEST_F(PruneTest, TheProjectThatEndsARunIsTheLastShown) {
    setRules({{"oldBackupLimit", 0}});
    const auto outcome = run({"prune", "--dry-run", "--json"});
    EXPECT_THAT(outcome.output,
                AllOf(HasSubstr("\"rule\": \"oldBackupLimit\""), Not(HasSubstr("Film"))));
    EXPECT_THAT(run({"prune", "--dry-run"}).messages, HasSubstr("in a later run"));
}

TEST_F(PruneTest, RemovesNothingItself) {
    const auto outcome = run({"prune"});
    EXPECT_EQ(outcome.status, ExitStatus::wrongUsage);
    EXPECT_THAT(outcome.messages, HasSubstr("larkspan prune --dry-run"));
    EXPECT_EQ(run({"prune", "--dry-run", "Nothing"}).status, ExitStatus::failed);
}

TEST(RetentionReasonsTest, NameTheLimitThatApplies) {
    const RetentionRules rules{.recentDays = 2,
                               .recentLimit = 5,
                               .period = RetentionPeriod::week,
                               .keptPerPeriod = 3,
                               .oldLimit = 1};
    const struct {
        RetentionRule rule;
        const char* reason;
    } cases[] = {
        {RetentionRule::deletionAge, "is older than 90 days"},
        {RetentionRule::recentLimit, "is beyond the 5 versions kept of the last 2 days"},
        {RetentionRule::periodLimit, "is beyond the 3 versions kept of week 9 of 2012"},
        {RetentionRule::oldLimit, "is beyond the 1 version kept of the older ones"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(removalReason({"Cut.00001.fcp", c.rule, "2012-9"}, rules), c.reason);
        EXPECT_NE(preferenceOfRule(c.rule), "") << c.reason;
    }
}

}  // namespace
}  // namespace larkspan
