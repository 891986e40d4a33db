#include "kit/Problems.h"

#include "foundation/Guarded.h"
#include "platform/Clock.h"
#include "platform/Platform.h"

namespace larkspan {
namespace {

Guarded<std::optional<Problem>>& remembered() {
    static Guarded<std::optional<Problem>> problem;
    return problem;
}

}  // namespace

std::optional<Problem> lastProblem() {
    return remembered().copy();
}

void rememberProblem(const std::string& text) {
    remembered().with([&](auto& problem) {
        problem = Problem{text, platform::Platform::current().clock.now()};
    });
}

}  // namespace larkspan
