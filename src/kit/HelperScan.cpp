#include "kit/HelperScan.h"

#include "kit/Problems.h"
#include "platform/Clock.h"
#include "platform/Platform.h"

namespace larkspan {
namespace {

constexpr Seconds betweenLooks{0.1};
constexpr const char* numberKey = "number";
constexpr const char* textKey = "text";

Result<std::vector<Problem>> problemsOf(platform::Connections::Client& helper) {
    const Result<Value> listed = helper.property(problemsProperty, helperCallTimeout);
    if (!listed) return listed.error();
    std::vector<Problem> problems;
    if (!listed->array()) return problems;
    for (const Value& entry : *listed->array()) {
        const Value* number = entry.find(numberKey);
        const Value* text = entry.find(textKey);
        if (!number || !text || !text->string()) continue;
        problems.push_back({.text = *text->string(), .number = number->integerValue()});
    }
    return problems;
}

}  // namespace

Result<bool> waitForQueuedRuns(platform::Connections::Client& helper,
                               const std::function<bool()>& goesOn) {
    const Result<Value> queued = helper.property("runsQueued", helperCallTimeout);
    if (!queued) return queued.error();
    while (true) {
        const Result<Value> ended = helper.property("runsEnded", helperCallTimeout);
        if (!ended) return ended.error();
        const Result<Value> written =
            helper.property(projectsBeingWrittenProperty, helperCallTimeout);
        if (!written) return written.error();
        const bool haveEnded = ended->integerValue() >= queued->integerValue();
        if (haveEnded && written->integerValue() == 0) return true;
        if (!goesOn()) return false;
        platform::Platform::current().clock.sleepFor(betweenLooks);
    }
}

Result<std::vector<std::string>> scanByHelper(platform::Connections::Client& helper) {
    const auto before = problemsOf(helper);
    if (!before) return before.error();
    if (const auto error = helper.call("startBackupScan", helperCallTimeout)) return *error;
    const auto waited = waitForQueuedRuns(helper, [] { return true; });
    if (!waited) return waited.error();
    const auto after = problemsOf(helper);
    if (!after) return after.error();
    const long last = before->empty() ? 0 : before->back().number;
    std::vector<std::string> texts;
    for (const Problem& problem : *after) {
        if (problem.number > last) texts.push_back(problem.text);
    }
    return texts;
}

Value problemsForConnection() {
    Value::Array problems;
    for (const Problem& problem : problemsAfter(0)) {
        problems.emplace_back(
            Value::Dictionary{{numberKey, problem.number}, {textKey, problem.text}});
    }
    return problems;
}

}  // namespace larkspan
