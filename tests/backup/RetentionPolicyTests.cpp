#include "backup/RetentionPolicy.h"
#include "foundation/MessageText.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <map>
#include <random>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspan {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr Seconds day = 86400s;

class TimeZone {
  public:
    explicit TimeZone(const char* name) {
        ::setenv("TZ", name, 1);
        ::tzset();
    }
    ~TimeZone() {
        ::unsetenv("TZ");
        ::tzset();
    }
};

struct RetentionPolicyTest : ::testing::Test {
    RetentionPolicyTest() { rules.minimum = std::nullopt; }

    Date ago(Seconds age) const {
        return now - std::chrono::duration_cast<std::chrono::nanoseconds>(age);
    }
    // Versions with these ages, the oldest first, as Cut.00001.prproj and so on.
    void add(const std::vector<Seconds>& ages) {
        for (const Seconds age : ages) add(messageText("Cut.%@.prproj", padded()), age);
    }
    void add(const std::string& name, Seconds age) { files.push_back({name, ago(age)}); }
    std::string padded() const {
        const std::string number = std::to_string(files.size() + 1);
        return std::string(5 - number.size(), '0') + number;
    }

    std::vector<std::string> removed() const {
        const RetentionPlan plan = retentionPlan(files, rules, now);
        std::vector<std::string> names;
        for (const size_t index : plan.removals) names.push_back(plan.verdicts[index].name);
        return names;
    }
    std::vector<std::string> removedNumbers() const {
        std::vector<std::string> numbers = removed();
        for (std::string& name : numbers) name = name.substr(8, 1);
        return numbers;
    }

    const TimeZone utc{"UTC"};
    const Date now = dateFromUnixTime(1'362'657'600);  // 2013-03-07 12:00 UTC, a Thursday
    RetentionRules rules;
    std::vector<StoredFile> files;
};

TEST_F(RetentionPolicyTest, KeepsSoManyOfAPeriod) {
    const struct {
        size_t count;
        long kept;
        std::vector<size_t> indexes;
    } cases[] = {
        {0, 1, {}},
        {1, 1, {0}},
        {10, 1, {0}},
        {10, 2, {0, 9}},
        {10, 3, {0, 5, 9}},
        {10, 4, {0, 5, 7, 9}},
        {10, 5, {0, 2, 5, 7, 9}},
        {3, 3, {0, 1, 2}},
        {4, 3, {0, 2, 3}},
        {5, 4, {0, 3, 4}},
        {16'777'219, 3, {0, 8'388'610, 16'777'218}},  // in single precision 16,777,220
    };
    for (const auto& [count, kept, indexes] : cases) {
        EXPECT_EQ(keptIndexes(count, kept), indexes) << count << " kept " << kept;
    }
}

TEST_F(RetentionPolicyTest, NamesPeriods) {
    const Date lateOnNewYearsEve = dateFromUnixTime(1'356'998'399);  // 2012-12-31 23:59:59 UTC
    const Date before1970 = dateFromUnixTime(-86'400);
    const Date march = dateFromUnixTime(1'330'905'600);  // 2012-03-05
    EXPECT_EQ(periodKey(march, RetentionPeriod::day), "2012-03-05");
    EXPECT_EQ(periodKey(march, RetentionPeriod::month), "2012-03");
    EXPECT_EQ(periodKey(march, RetentionPeriod::week), "2012-10");
    EXPECT_EQ(periodKey(lateOnNewYearsEve, RetentionPeriod::week), "2012-1");
    EXPECT_EQ(periodKey(before1970, RetentionPeriod::day), "1969-12-31");
    const TimeZone berlin("Europe/Berlin");
    EXPECT_EQ(periodKey(lateOnNewYearsEve, RetentionPeriod::day), "2013-01-01");
}

TEST_F(RetentionPolicyTest, LeavesSmallProjectsAlone) {
    rules = RetentionRules();
    for (int i = 0; i < 24; ++i) add({400 * day});
    add({0s});
    EXPECT_THAT(removed(), IsEmpty());
    add({0s});
    EXPECT_EQ(removed().size(), 24U);
    files.clear();
    EXPECT_THAT(removed(), IsEmpty());
}

TEST_F(RetentionPolicyTest, KeepsAllOfTheWindowBeforeTheNewestVersion) {
    // The window counts from the newest version, not from now; its far end belongs to it.
    add({12 * day + 1s, 12 * day, 11 * day + 1s, 11 * day});
    EXPECT_THAT(removed(), IsEmpty()) << "one of the day before the window";
    add({11 * day - 2s});
    EXPECT_THAT(removedNumbers(), ElementsAre("2"));
}

TEST_F(RetentionPolicyTest, LimitsTheWindow) {
    add({3s, 2s, 1s, 0s});
    rules.recentLimit = 2;
    EXPECT_THAT(removedNumbers(), ElementsAre("1", "2"));
    rules.recentLimit = 0;
    EXPECT_THAT(removedNumbers(), ElementsAre("1", "2", "3", "4"));
}

TEST_F(RetentionPolicyTest, RemovesByAgeThenThinsThenLimits) {
    add({200 * day, 91 * day, 50 * day, 50 * day - 1s, 50 * day - 2s, 40 * day, 30 * day, 0s});
    rules.oldLimit = 2;
    EXPECT_THAT(removedNumbers(), ElementsAre("1", "2", "5", "4", "3"));
    const RetentionPlan plan = retentionPlan(files, rules, now);
    EXPECT_TRUE(plan.endsRun);
    using enum RetentionRule;
    const RetentionRule expected[] = {deletionAge, deletionAge, oldLimit,    periodLimit,
                                      periodLimit, ofItsPeriod, ofItsPeriod, recent};
    for (size_t i = 0; i < 8; ++i) EXPECT_EQ(plan.verdicts[i].rule, expected[i]) << i;
    EXPECT_EQ(plan.verdicts[2].period, "2013-01-16");
    rules.oldLimit = 3;
    EXPECT_FALSE(retentionPlan(files, rules, now).endsRun) << "at the limit nothing is over it";
}

TEST_F(RetentionPolicyTest, TakesWeekKeysAsTexts) {
    rules.period = RetentionPeriod::week;
    rules.deletionAge = std::nullopt;
    rules.oldLimit = 1;
    // Week 9 of 2012 comes after week 37 there.
    add({373 * day, 174 * day, 0s});
    EXPECT_THAT(removedNumbers(), ElementsAre("2"));
}

TEST_F(RetentionPolicyTest, RenditionsGoWithTheirCopies) {
    add("Cut.00001.fcp", 200 * day);
    add("Cut.00001.XML", 200 * day);
    add("Cut.00002.xml", 200 * day);  // its copy is gone
    add("Cut.00003.fcp", 0s);
    add("Cut.00003.xml", 0s);
    EXPECT_THAT(removed(), ElementsAre("Cut.00001.fcp", "Cut.00002.xml"));
}

TEST_F(RetentionPolicyTest, NothingGoesThatCannotBeDated) {
    add({200 * day, 100 * day});
    files.push_back({"Cut.00003.prproj", std::nullopt});
    EXPECT_THAT(removed(), IsEmpty()) << "the newest has no date";
    add({0s});
    files[0].modificationDate.reset();
    EXPECT_THAT(removedNumbers(), ElementsAre("2"));
}

TEST_F(RetentionPolicyTest, DaylightSavingEndsNoDayEarly) {
    const TimeZone berlin("Europe/Berlin");
    // 2012-03-25 has 23 hours there: 00:30 and 23:30 local time.
    const Date early = dateFromUnixTime(1'332'631'800);
    const Date late = early + 22h;
    files = {{"a", early}, {"b", late}, {"c", late + 31min}, {"d", now}};
    rules.deletionAge = std::nullopt;
    EXPECT_THAT(removed(), ElementsAre("b"));
}

TEST_F(RetentionPolicyTest, ReadsThePreferences) {
    const RetentionRules usual = retentionRules(Preferences());
    EXPECT_TRUE(usual.isOn);
    EXPECT_EQ(usual.minimum, 25);
    EXPECT_EQ(usual.recentLimit, std::nullopt);
    EXPECT_EQ(usual.oldLimit, 30);
    EXPECT_EQ(usual.deletionAge, 90);
    EXPECT_EQ(usual.removal, RemovalType::trash);
    EXPECT_FALSE(usual.removesSynced);
    const Preferences preferences(Value::Dictionary{{"manageBackups", 2},
                                                    {"backupManagementMinLimitSet", 0},
                                                    {"currentDayCount", -3},
                                                    {"currentBackupLimitSet", 1},
                                                    {"oldBackupLimit", -1},
                                                    {"oldBackupType", 2},
                                                    {"oldBackupCount", 0},
                                                    {"removalType", 1},
                                                    {"syncService", 1}});
    const RetentionRules unusual = retentionRules(preferences);
    EXPECT_FALSE(unusual.isOn);
    EXPECT_EQ(unusual.minimum, std::nullopt);
    EXPECT_EQ(unusual.recentDays, 0);
    EXPECT_EQ(unusual.recentLimit, 30);
    EXPECT_EQ(unusual.oldLimit, std::nullopt);
    EXPECT_EQ(unusual.period, RetentionPeriod::month);
    EXPECT_EQ(unusual.keptPerPeriod, 1);
    EXPECT_EQ(unusual.removal, RemovalType::remove);
    EXPECT_TRUE(unusual.removesSynced);
}

// What must hold of every store under all rules.
TEST_F(RetentionPolicyTest, HoldsOnRandomStores) {
    std::mt19937 random(2013);
    const auto upTo = [&](long most) {
        return std::uniform_int_distribution<long>(0, most)(random);
    };
    const auto maybe = [&](long most) {
        return upTo(1) == 0 ? std::nullopt : std::optional(upTo(most));
    };
    for (int round = 0; round < 2000; ++round) {
        files.clear();
        std::vector<Seconds> ages(static_cast<size_t>(upTo(60)));
        for (Seconds& age : ages) age = Seconds(double(upTo(150L * 86400)));
        std::ranges::sort(ages, std::greater());
        for (const Seconds age : ages) {
            add({age});
            if (upTo(3) == 0) files.push_back({"Cut." + padded() + ".xml", ago(age)});
        }
        rules = {.minimum = maybe(30),
                 .recentDays = upTo(10),
                 .recentLimit = maybe(10),
                 .period = static_cast<RetentionPeriod>(upTo(2)),
                 .keptPerPeriod = 1 + upTo(6),
                 .oldLimit = maybe(10),
                 .deletionAge = maybe(100)};
        const RetentionPlan plan = retentionPlan(files, rules, now);
        const std::set<size_t> gone(plan.removals.begin(), plan.removals.end());
        ASSERT_EQ(gone.size(), plan.removals.size()) << "nothing goes twice";

        std::vector<StoredFile> left;
        std::map<std::string, long> periods;
        long recent = 0;
        for (size_t i = 0; i < plan.verdicts.size(); ++i) {
            const RetentionVerdict& verdict = plan.verdicts[i];
            ASSERT_EQ(gone.contains(i), isRemoval(verdict.rule));
            if (!gone.contains(i)) {
                left.push_back(files[i]);
                if (verdict.rule == RetentionRule::ofItsPeriod) ++periods[verdict.period];
                if (verdict.rule == RetentionRule::recent) ++recent;
                continue;
            }
            const Seconds age = secondsBetween(*files[i].modificationDate, now);
            const Seconds behind =
                secondsBetween(*files[i].modificationDate, *files.back().modificationDate);
            const bool inWindow = behind <= double(rules.recentDays) * day;
            ASSERT_EQ(inWindow, verdict.rule == RetentionRule::recentLimit);
            if (verdict.rule == RetentionRule::deletionAge) {
                ASSERT_GT(age, double(*rules.deletionAge) * day);
            }
        }
        const bool newestGoes = !files.empty() && gone.contains(files.size() - 1);
        ASSERT_TRUE(!newestGoes || rules.recentLimit == 0);
        if (gone.empty()) continue;
        ASSERT_GT(long(files.size()), rules.minimum.value_or(0));
        ASSERT_LE(recent, rules.recentLimit.value_or(recent));
        long old = 0;
        for (const auto& [key, count] : periods) {
            ASSERT_LE(count, rules.keptPerPeriod);
            old += count;
        }
        ASSERT_LE(old, rules.oldLimit.value_or(old));
        if (newestGoes) continue;
        ASSERT_TRUE(retentionPlan(left, rules, now).removals.empty());
    }
}

}  // namespace
}  // namespace larkspan
