#pragma once

#include "platform/linux/MountTable.h"
#include "platform/posix/FileDescriptor.h"

#include <vector>

namespace larkspan::platform {

// What is mounted as the calling thread sees it. One thread at a time.
class MountWatch {
  public:
    MountWatch();

    // Reports an exceptional condition (POLLPRI) whenever something is mounted or unmounted; -1
    // when the system has no such table.
    int descriptor() const { return table_.get(); }

    std::vector<Mount> mounts() const;

  private:
    FileDescriptor table_;
};

}  // namespace larkspan::platform
