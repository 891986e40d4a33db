#pragma once

#include "platform/Files.h"

#include <condition_variable>
#include <mutex>
#include <set>

namespace larkspan::platform {

// Locks by path. Whoever waits does so in real time: the holder is another thread of the test.
// Outlives the locks that it gave. Any thread.
class FakeFolderLocks {
  public:
    // Null when another has had it for as long as the patience.
    std::unique_ptr<FolderLock> take(const Path& folder, Seconds patience);

  private:
    class Lock;

    std::mutex mutex_;
    std::condition_variable released_;
    std::set<Path> held_;
};

}  // namespace larkspan::platform
