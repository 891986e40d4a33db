#pragma once

#include "foundation/Guarded.h"
#include "platform/Processes.h"

#include <map>

namespace larkspan::platform {

// What a pretended program does when it is launched.
struct FakeProgram {
    std::string output = {};
    std::string error = {};
    int exitStatus = 0;
    bool runsUntilTerminated = false;       // else it has ended by the time launch() returns
    bool ignoresTermination = false;        // only kill() ends it
    bool leavesPipesOpen = false;           // a child of its own keeps them open after its end
    std::optional<Error> launchError = {};  // it cannot be started
};

// Programs that tests script by path; no process is started. Any thread.
class FakeProcesses final : public Processes {
  public:
    // A path without a program gives ENOENT.
    Result<std::shared_ptr<Process>> launch(const LaunchRequest& request) override;

    // Replaces the program at that path.
    void setProgram(const Path& path, FakeProgram program);

    // What was launched, in order; launches that failed are not among them.
    std::vector<LaunchRequest> launches() const;
    std::vector<std::shared_ptr<Process>> launched() const;

  private:
    struct Scene {
        std::map<Path, FakeProgram> programs;
        std::vector<LaunchRequest> launches;
        std::vector<std::shared_ptr<Process>> launched;
    };
    Guarded<Scene> scene_;
};

}  // namespace larkspan::platform
