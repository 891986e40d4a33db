#include "backup/UnrestedProjects.h"

#include <optional>
#include <vector>

#include <gtest/gtest.h>

namespace larkspan {
namespace {

using Verdict = UnrestedProjects::Verdict;

const Path project("/Work/Cut.prproj");
const Date start = dateFromUnixTime(1'000'000);

Date after(double seconds) {
    return start + std::chrono::duration_cast<Date::duration>(Seconds(seconds));
}

// One look at the moment `at`, at a file written at `written`; both in seconds.
struct Step {
    double at;
    double written;
    Verdict verdict;
    std::optional<double> nextLook;
};

void expectSteps(const std::vector<Step>& steps) {
    UnrestedProjects unrested;
    for (const Step& step : steps) {
        const auto decision =
            unrested.look(project, {after(step.written), 1}, after(step.at), Seconds(step.at));
        EXPECT_EQ(decision.verdict, step.verdict) << "at " << step.at;
        if (decision.verdict == Verdict::atRest) unrested.settled(project);
        const auto next = unrested.nextLook();
        ASSERT_EQ(next.has_value(), step.nextLook.has_value()) << "at " << step.at;
        EXPECT_NEAR(next.value_or(Seconds(0)).count(), step.nextLook.value_or(0), 1e-6);
    }
}

TEST(UnrestedProjects, AFileRestsFourSecondsAfterItsLastWrite) {
    expectSteps({{4, 0, Verdict::atRest, {}},
                 {11, 10, Verdict::setAside, 14},
                 {13, 12, Verdict::setAside, 16},
                 {16, 12, Verdict::atRest, {}}});
}

TEST(UnrestedProjects, ADateInTheFutureSaysNothing) {
    expectSteps({{1, 900, Verdict::setAside, 5},
                 {3, 901, Verdict::setAside, 7},
                 {6, 901, Verdict::setAside, 7},
                 {7, 901, Verdict::atRest, {}}});
}

TEST(UnrestedProjects, AClockSetBackHoldsNoFileUp) {
    UnrestedProjects unrested;
    const WriteState state{after(100), 1};
    EXPECT_EQ(unrested.look(project, state, after(101), Seconds(1)).verdict, Verdict::setAside);
    EXPECT_EQ(unrested.look(project, state, after(-9000), Seconds(3)).verdict, Verdict::setAside);
    EXPECT_EQ(unrested.look(project, state, after(-8998), Seconds(5)).verdict, Verdict::atRest);
}

TEST(UnrestedProjects, WhatKeepsChangingIsTriedOnceAMinute) {
    UnrestedProjects unrested;
    std::vector<int> tries;
    int told = 0;
    for (int second = 0; second < 200; ++second) {
        const auto decision = unrested.look(project, {after(second), 1}, after(second),
                                            Seconds(static_cast<double>(second)));
        if (decision.verdict != Verdict::worthATry) continue;
        tries.push_back(second);
        if (decision.isFirst) ++told;
    }
    EXPECT_EQ(tries, (std::vector{60, 120, 180}));
    EXPECT_EQ(told, 1);
}

TEST(UnrestedProjects, ForgetsWhatNobodyCameAcross) {
    UnrestedProjects unrested;
    unrested.changedWhileCopied(project, {after(0), 1}, Seconds(10));
    EXPECT_FALSE(unrested.isDue(project, Seconds(13)));
    EXPECT_TRUE(unrested.isDue(project, Seconds(14)));
    unrested.forgetOverdue(Seconds(13));
    EXPECT_TRUE(unrested.nextLook());
    unrested.forgetOverdue(Seconds(14));
    EXPECT_FALSE(unrested.nextLook());
}

}  // namespace
}  // namespace larkspan
