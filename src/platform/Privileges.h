#pragma once

#include "foundation/Path.h"
#include "foundation/Result.h"
#include "foundation/Secret.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace larkspan::platform {

enum class WaitForOutput { no, yes };
// Where a person may be asked: wherever one is, or only at a desktop.
enum class Asking { anywhere, atDesktop };
// Whether whoever asks has stopped waiting for the answer.
using GivenUp = std::function<bool()>;

// The right to act with administrator rights, given up when destroyed. Any thread.
class Authorization {
  public:
    virtual ~Authorization() = default;

    // Runs a tool with administrator rights; its arguments reach it one by one, never through a
    // shell. 0 when it was started, whatever becomes of it, else the system's status. Asks nobody.
    // Waits with `wait` until the tool has finished writing. The tool must be an absolute path.
    virtual std::int32_t execute(const Path& tool, const std::vector<std::string>& arguments,
                                 WaitForOutput wait) = 0;
};

// Domain of the errors below; any other code is the system's own status.
inline constexpr const char* privilegesErrorDomain = "PrivilegesErrorDomain";
// The user is not an administrator, the password is wrong, or a person said no.
inline constexpr long authorizationDenied = 1;

// How this process gets administrator rights that it does not have. Any thread.
class Privileges {
  public:
    virtual ~Privileges() = default;

    // The right that whoever started this process handed on; null when there is none.
    virtual std::unique_ptr<Authorization> inheritedAuthorization() = 0;

    // Whether somebody is there, now, who can be asked. Asks nobody.
    virtual bool canAskPerson(Asking asking) = 0;
    // By asking a person, and waiting for the answer: ten minutes at most, or until `givenUp`. Null
    // when there is nobody to ask, or the answer is no.
    virtual std::unique_ptr<Authorization> authorize(Asking asking, const GivenUp& givenUp) = 0;

    // By an administrator's name and password, without asking anybody. The password is not kept.
    virtual Result<std::unique_ptr<Authorization>> authorize(const std::string& user,
                                                             const Secret& password) = 0;
};

}  // namespace larkspan::platform
