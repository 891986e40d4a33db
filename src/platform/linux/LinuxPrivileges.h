#pragma once

#include "platform/Clock.h"
#include "platform/Privileges.h"
#include "platform/Processes.h"
#include "platform/StandardPlaces.h"

namespace larkspan::platform {

// The programs behind the privileges, and whether a person can be asked.
struct PrivilegePrograms {
    Path pkexec{"/usr/bin/pkexec"};
    Path sudo{"/usr/bin/sudo"};
    // There is a graphical session or a terminal.
    bool personCanBeAsked = false;

    static PrivilegePrograms ofThisProcess();
};

// Asking a person is pkexec's affair: it asks when a tool is executed, and as often as the system's
// policy says. By name and password it is sudo, which takes the password of the user it is called
// by: any other user is refused. The password goes through a pipe to sudo's standard input and
// nowhere else. What sudo remembers is forgotten when the authorization goes.
class LinuxPrivileges final : public Privileges {
  public:
    // The services must outlive this and every authorization.
    LinuxPrivileges(Processes& processes, Clock& clock, StandardPlaces& places,
                    PrivilegePrograms programs = PrivilegePrograms::ofThisProcess());

    // Linux hands no such right from process to process.
    std::unique_ptr<Authorization> inheritedAuthorization() override { return nullptr; }
    std::unique_ptr<Authorization> authorize() override;
    Result<std::unique_ptr<Authorization>> authorize(const std::string& user,
                                                     const Secret& password) override;

  private:
    Processes& processes_;
    Clock& clock_;
    StandardPlaces& places_;
    const PrivilegePrograms programs_;
};

}  // namespace larkspan::platform
