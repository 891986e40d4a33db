#include "kit/Problems.h"

#include "foundation/Guarded.h"
#include "platform/Clock.h"
#include "platform/Platform.h"

#include <algorithm>
#include <deque>
#include <iterator>

namespace larkspan {
namespace {

constexpr size_t mostRemembered = 100;

Guarded<std::deque<Problem>>& remembered() {
    static Guarded<std::deque<Problem>> problems;
    return problems;
}

}  // namespace

std::optional<Problem> lastProblem() {
    return remembered().with([](const auto& problems) {
        return problems.empty() ? std::nullopt : std::optional(problems.back());
    });
}

std::vector<Problem> problemsAfter(long number) {
    return remembered().with([&](const auto& problems) {
        std::vector<Problem> later;
        std::ranges::copy_if(problems, std::back_inserter(later),
                             [&](const Problem& problem) { return problem.number > number; });
        return later;
    });
}

void rememberProblem(const std::string& text) {
    remembered().with([&](auto& problems) {
        const long number = problems.empty() ? 1 : problems.back().number + 1;
        problems.push_back({text, platform::Platform::current().clock.now(), number});
        if (problems.size() > mostRemembered) problems.pop_front();
    });
}

}  // namespace larkspan
