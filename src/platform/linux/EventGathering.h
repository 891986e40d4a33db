#pragma once

#include "foundation/Date.h"
#include "platform/FileEvents.h"

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace larkspan::platform {

// Gathers changed folders into batches: the first after a quiet period of `latency` is due at once,
// the next when `latency` has passed since the last batch. Knows no clock: moments are handed in as
// the time since some fixed one.
class EventGathering {
  public:
    explicit EventGathering(Seconds latency) : latency_(latency) {}

    // The folder's path ends in "/". The flags of a folder that is already in the batch add up.
    void add(std::string folder, std::uint32_t flags);

    // How long until the batch is due, 0 when it is; empty when nothing is gathered.
    std::optional<Seconds> dueIn(Seconds now) const;

    // The batch in the order of first changes, with new ids; the next one starts empty.
    std::vector<FileEvent> take(Seconds now);

  private:
    const Seconds latency_;
    std::optional<Seconds> lastBatch_;
    std::vector<FileEvent> batch_;
    std::unordered_map<std::string, size_t> places_;  // of folders in the batch
};

}  // namespace larkspan::platform
