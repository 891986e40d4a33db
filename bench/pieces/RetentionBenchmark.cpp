#include "backup/RetentionPolicy.h"
#include "backup/VersionName.h"

#include <chrono>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace larkspan::bench {
namespace {

constexpr Date now = dateFromUnixTime(1'700'000'000);

// Versions of one project, one every few hours, the newest now.
std::vector<StoredFile> versions(long count) {
    constexpr std::chrono::hours apart{5};
    std::vector<StoredFile> files;
    for (long number = 1; number <= count; ++number) {
        files.push_back({.name = versionCopyName(Path("Cut.fcp"), {number}),
                         .modificationDate = now - apart * (count - number)});
    }
    return files;
}

void decide(benchmark::State& state, RetentionPeriod period) {
    const auto files = versions(state.range(0));
    RetentionRules rules;
    rules.period = period;
    for (auto _ : state) benchmark::DoNotOptimize(retentionPlan(files, rules, now));
    state.SetItemsProcessed(static_cast<long>(state.iterations()) * state.range(0));
}

BENCHMARK_CAPTURE(decide, byDay, RetentionPeriod::day)->Arg(200)->Arg(10'000);
BENCHMARK_CAPTURE(decide, byWeek, RetentionPeriod::week)->Arg(200)->Arg(10'000);
BENCHMARK_CAPTURE(decide, byMonth, RetentionPeriod::month)->Arg(200)->Arg(10'000);

}  // namespace
}  // namespace larkspan::bench
