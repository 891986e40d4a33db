#pragma once

#include "foundation/Guarded.h"
#include "platform/Privileges.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace larkspan::platform {

// A tool that would have run with administrator rights.
struct PrivilegedRun {
    Path tool = {};
    std::vector<std::string> arguments = {};
    WaitForOutput wait = WaitForOutput::no;

    friend bool operator==(const PrivilegedRun&, const PrivilegedRun&) = default;
};

// Grants what the test says and records what would have run; nothing does. Authorizations must not
// outlive it.
class FakePrivileges final : public Privileges {
  public:
    std::unique_ptr<Authorization> inheritedAuthorization() override;
    bool canAskPerson(Asking asking) override;
    std::unique_ptr<Authorization> authorize(Asking asking, const GivenUp& givenUp) override;
    Result<std::unique_ptr<Authorization>> authorize(const std::string& user,
                                                     const Secret& password) override;

    bool inherits = false;
    bool sitsAtDesktop = true;  // else nobody can be asked there
    bool personAgrees = false;
    std::function<void(const GivenUp&)> answer = {};  // runs while the question is open
    std::map<std::string, std::string> passwords;     // of the administrators
    std::optional<Error> authorizationFailure = {};   // of the next one by name and password
    std::int32_t status = 0;                          // of every execution; only 0 records a run

    int timesAsked() const { return asked_.copy(); }
    int authorizationsInForce() const { return inForce_.copy(); }
    std::vector<PrivilegedRun> runs() const { return runs_.copy(); }

  private:
    class Granted;
    Guarded<int> asked_;
    Guarded<int> inForce_;
    Guarded<std::vector<PrivilegedRun>> runs_;
};

}  // namespace larkspan::platform
