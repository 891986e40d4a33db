#include "platform/linux/EventGathering.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace larkspan::platform {

void EventGathering::add(std::string folder, std::uint32_t flags) {
    const auto [place, isNew] = places_.try_emplace(folder, batch_.size());
    if (isNew) {
        batch_.push_back({.path = Path(std::move(folder)), .flags = flags});
    } else {
        batch_[place->second].flags |= flags;
    }
}

std::optional<Seconds> EventGathering::dueIn(Seconds now) const {
    if (batch_.empty()) return std::nullopt;
    if (!lastBatch_) return Seconds(0);
    return std::max(Seconds(0), *lastBatch_ + latency_ - now);
}

std::vector<FileEvent> EventGathering::take(Seconds now) {
    static std::atomic<std::uint64_t> lastId{0};
    std::uint64_t id = lastId.fetch_add(batch_.size());
    for (FileEvent& event : batch_) event.id = ++id;
    lastBatch_ = now;
    places_.clear();
    return std::exchange(batch_, {});
}

}  // namespace larkspan::platform
