#include "backup/UnrestedProjects.h"

#include <algorithm>

namespace larkspan {
namespace {

constexpr Seconds beingWritten{4.0};
constexpr Seconds betweenTries{60.0};

}  // namespace

UnrestedProjects::Decision UnrestedProjects::look(const Path& project, const WriteState& state,
                                                  Date now, Seconds uptime) {
    const Seconds age = secondsBetween(state.modificationDate, now);
    const bool isInTheFuture = age < Seconds(0);
    const auto known = waiting_.find(project);
    const bool wasSetAside = known != waiting_.end();
    if (!isInTheFuture && age >= beingWritten) {
        return {.verdict = Verdict::atRest, .isFirst = wasSetAside, .wasSetAside = wasSetAside};
    }
    if (!wasSetAside) {
        const Seconds rest = isInTheFuture ? beingWritten : beingWritten - age;
        waiting_[project] = {state, uptime, uptime, uptime + rest, false};
        return {.verdict = Verdict::setAside, .isFirst = true};
    }
    Waiting& waiting = known->second;
    if (waiting.state != state) {
        waiting.state = state;
        waiting.unchangedSince = uptime;
    }
    if (uptime - waiting.unchangedSince >= beingWritten) {
        return {.verdict = Verdict::atRest, .isFirst = true, .wasSetAside = true};
    }
    const Seconds unchangedFor = uptime - waiting.unchangedSince;
    waiting.due = uptime + (isInTheFuture ? beingWritten - unchangedFor
                                          : std::min(beingWritten, beingWritten - age));
    if (uptime - waiting.lastTry < betweenTries) {
        return {.verdict = Verdict::setAside, .wasSetAside = true};
    }
    waiting.lastTry = uptime;
    const bool isFirst = !waiting.keepsChanging;
    waiting.keepsChanging = true;
    return {.verdict = Verdict::worthATry, .isFirst = isFirst, .wasSetAside = true};
}

void UnrestedProjects::changedWhileCopied(const Path& project, const WriteState& state,
                                          Seconds uptime) {
    const auto [known, isNew] =
        waiting_.try_emplace(project, Waiting{state, uptime, uptime, Seconds(0), false});
    known->second.due = uptime + beingWritten;
}

std::optional<Seconds> UnrestedProjects::nextLook() const {
    std::optional<Seconds> next;
    for (const auto& [project, waiting] : waiting_) {
        next = next ? std::min(*next, waiting.due) : waiting.due;
    }
    return next;
}

long UnrestedProjects::countBeingWritten() const {
    return std::ranges::count_if(waiting_,
                                 [](const auto& item) { return !item.second.keepsChanging; });
}

void UnrestedProjects::forgetOverdue(Seconds uptime) {
    std::erase_if(waiting_, [&](const auto& item) { return item.second.due <= uptime; });
}

bool UnrestedProjects::isDue(const Path& project, Seconds uptime) const {
    const auto known = waiting_.find(project);
    return known != waiting_.end() && known->second.due <= uptime;
}

}  // namespace larkspan
