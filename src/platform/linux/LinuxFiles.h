#pragma once

#include "platform/posix/PosixFiles.h"

namespace larkspan::platform {

// The file system with what only Linux has: copies that share or move their content inside the
// kernel, a rename that does not replace, extended attributes, listings without a detour.
class LinuxFiles final : public PosixFiles {
  public:
    LinuxFiles();
};

}  // namespace larkspan::platform
