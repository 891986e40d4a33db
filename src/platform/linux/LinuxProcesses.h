#pragma once

#include "platform/posix/PosixProcesses.h"

namespace larkspan::platform {

class LinuxProcesses final : public PosixProcesses {
  protected:
    int addClosingOfOthers(posix_spawn_file_actions_t& actions) override;
};

}  // namespace larkspan::platform
