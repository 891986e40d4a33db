#pragma once

#include "platform/Clock.h"
#include "platform/Privileges.h"
#include "platform/Processes.h"
#include "platform/StandardPlaces.h"
#include "platform/linux/PersonToAsk.h"

#include <functional>

namespace larkspan::platform {

// The programs behind the privileges, and who tells whether a person can be asked.
struct PrivilegePrograms {
    Path pkexec{"/usr/bin/pkexec"};
    Path sudo{"/usr/bin/sudo"};
    std::function<PersonFacts()> personFacts = [] { return PersonFacts::ofThisProcess(); };
};

// Asking a person is pkexec's affair. By name and password it is sudo, which takes the password of
// the user it is called by: any other user is refused. The password goes through a pipe to sudo's
// standard input and nowhere else. What sudo remembers is forgotten when the authorization goes.
class LinuxPrivileges final : public Privileges {
  public:
    // The services must outlive this and every authorization.
    LinuxPrivileges(Processes& processes, Clock& clock, StandardPlaces& places,
                    PrivilegePrograms programs = {});

    // Linux hands no such right from process to process.
    std::unique_ptr<Authorization> inheritedAuthorization() override { return nullptr; }
    bool canAskPerson(Asking asking) override;
    std::unique_ptr<Authorization> authorize(Asking asking, const GivenUp& givenUp) override;
    Result<std::unique_ptr<Authorization>> authorize(const std::string& user,
                                                     const Secret& password) override;

  private:
    Processes& processes_;
    Clock& clock_;
    StandardPlaces& places_;
    const PrivilegePrograms programs_;
};

}  // namespace larkspan::platform
