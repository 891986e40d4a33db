#pragma once

#include "platform/Clock.h"
#include "platform/Privileges.h"
#include "platform/Processes.h"

#include <memory>
#include <mutex>
#include <string>

namespace larkspan::platform {

// Administrator rights that a person granted to pkexec, which asks anew for every program that it
// starts. So it starts one, which lasts as long as the authorization and starts the tools: xargs,
// told through a pipe which, argument by argument.
class PkexecAuthorization final : public Authorization {
  public:
    // Waits for the person's answer: null when that is no, after ten minutes, and once `givenUp`.
    // At a desktop the question comes there or nowhere, never in the terminal.
    static std::unique_ptr<PkexecAuthorization> ask(Processes& processes, Clock& clock,
                                                    const Path& pkexec, Asking asking,
                                                    const GivenUp& givenUp);
    PkexecAuthorization(const PkexecAuthorization&) = delete;
    PkexecAuthorization& operator=(const PkexecAuthorization&) = delete;
    // What it was told before is still done.
    ~PkexecAuthorization() override { xargs_->endInput(); }

    // E2BIG for more than 16 arguments or 4096 characters.
    std::int32_t execute(const Path& tool, const std::vector<std::string>& arguments,
                         WaitForOutput wait) override;

  private:
    explicit PkexecAuthorization(std::shared_ptr<Process> xargs) : xargs_(std::move(xargs)) {}
    void readUntil(const std::string& mark);

    const std::shared_ptr<Process> xargs_;
    std::mutex telling_;  // held until what is waited for has come
    int marks_ = 0;
};

}  // namespace larkspan::platform
