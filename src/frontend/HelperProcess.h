#pragma once

#include "foundation/Date.h"
#include "foundation/Guarded.h"
#include "foundation/Path.h"
#include "foundation/Result.h"
#include "platform/Processes.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace larkspan {

// A helper that runs as a child of this process. Main thread only.
class HelperProcess {
  public:
    // Starts it. `ended` is called on the main thread when it has closed its error output, which
    // is when it has ended or is just about to.
    static Result<std::unique_ptr<HelperProcess>> start(const Path& executable,
                                                        std::function<void()> ended);
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;
    // Does not end the helper.
    ~HelperProcess();

    int processID() const { return process_->processID(); }

    // Waits until it has ended; empty when it has not in that time. The exit status, or 128 plus
    // the number of the signal that ended it.
    std::optional<int> waitUntilEnded(Seconds atMost);
    // Asks it to end in order.
    void terminate() { process_->terminate(); }
    // Ends it at once.
    void kill() { process_->kill(); }

    // The last lines that it wrote on standard error. When it has ended, all of them: its children
    // do not share that stream, so what is left to be read comes to an end.
    std::string lastOutput();

  private:
    HelperProcess(std::shared_ptr<platform::Process> process, std::function<void()> ended);

    std::shared_ptr<platform::Process> process_;
    // What the reading thread and the callback that it posts look at; both may outlive this.
    std::shared_ptr<Guarded<std::string>> output_ = std::make_shared<Guarded<std::string>>();
    std::shared_ptr<std::function<void()>> ended_;
    std::thread reader_;
};

}  // namespace larkspan
