#pragma once

#include "platform/FileEvents.h"
#include "platform/MainThread.h"
#include "platform/linux/FileEventReader.h"

#include <memory>
#include <vector>

namespace larkspan::platform {

// Recursive watching with inotify, one thread for each stream.
class LinuxFileEvents final : public FileEvents {
  public:
    explicit LinuxFileEvents(MainThread& mainThread, FileEventsOptions options = {})
        : mainThread_(mainThread), options_(std::move(options)) {}

    std::unique_ptr<Stream> start(std::vector<Path> paths, Seconds latency, Callback callback,
                                  ExcludedTrees excluded) override;

  private:
    MainThread& mainThread_;
    const FileEventsOptions options_;
};

}  // namespace larkspan::platform
