#pragma once

#include "platform/Processes.h"

#include <spawn.h>

namespace larkspan::platform {

// Starts programs with posix_spawn.
//
// Each child has a thread that sleeps until the child ends, reaps it and ends too, so that no
// zombie stays whether or not anybody waits. One thread for all would have to wait for any child
// of the process and so take those that libraries started, or need a descriptor per child and a
// way to be woken; a SIGCHLD handler belongs to the whole process. Few programs run at a time.
class PosixProcesses : public Processes {
  public:
    Result<std::shared_ptr<Process>> launch(const LaunchRequest& request) override;

  protected:
    // Makes the child close every descriptor but its three standard streams. What this process
    // opens is closed there anyway; this is for descriptors that libraries or whoever started
    // this process left open. Gives an errno value, 0 on success.
    virtual int addClosingOfOthers(posix_spawn_file_actions_t& actions) = 0;
};

}  // namespace larkspan::platform
