#include "platform/linux/LinuxProcesses.h"

#include <unistd.h>

namespace larkspan::platform {

int LinuxProcesses::addClosingOfOthers(posix_spawn_file_actions_t& actions) {
    return ::posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
}

}  // namespace larkspan::platform
