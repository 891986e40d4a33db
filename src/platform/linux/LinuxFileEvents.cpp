#include "platform/linux/LinuxFileEvents.h"

#include <cassert>
#include <utility>

namespace larkspan::platform {
namespace {

// Where posted batches arrive. They share it, and so find out that the stream has ended.
struct Arrival {
    FileEvents::Callback callback;
    bool ended = false;  // main thread only
};

class LinuxStream final : public FileEvents::Stream {
  public:
    LinuxStream(MainThread& mainThread, std::vector<Path> roots, ExcludedTrees excluded,
                Seconds latency, const FileEventsOptions& options, FileEvents::Callback callback)
        : arrival_(std::make_shared<Arrival>(Arrival{.callback = std::move(callback)})) {
        if (roots.empty()) return;
        reader_ = FileEventReader::start(
            std::move(roots), std::move(excluded), latency, options,
            [&mainThread, arrival = arrival_](std::vector<FileEvent> events) {
                mainThread.post([arrival, events = std::move(events)] {
                    if (!arrival->ended) arrival->callback(events);
                });
            });
    }
    LinuxStream(const LinuxStream&) = delete;
    LinuxStream& operator=(const LinuxStream&) = delete;
    ~LinuxStream() override {
        arrival_->ended = true;
        if (reader_) reader_->stop();
    }

    std::vector<WatchedRoot> roots() const override {
        return reader_ ? reader_->roots() : std::vector<WatchedRoot>();
    }

  private:
    const std::shared_ptr<Arrival> arrival_;
    std::shared_ptr<FileEventReader> reader_;
};

}  // namespace

std::unique_ptr<FileEvents::Stream> LinuxFileEvents::start(std::vector<Path> paths, Seconds latency,
                                                           Callback callback,
                                                           ExcludedTrees excluded) {
    assert(mainThread_.isCurrent());
    return std::make_unique<LinuxStream>(mainThread_, std::move(paths), std::move(excluded),
                                         latency, options_, std::move(callback));
}

}  // namespace larkspan::platform
