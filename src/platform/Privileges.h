#pragma once

#include "foundation/Path.h"
#include "foundation/Result.h"
#include "foundation/Secret.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace larkspan::platform {

enum class WaitForOutput { no, yes };

// The right to act with administrator rights, given up when destroyed. Any thread.
class Authorization {
  public:
    virtual ~Authorization() = default;

    // Runs a tool with administrator rights; its arguments reach it one by one, never through a
    // shell. 0 when it was started, whatever becomes of it, else the system's status. Waits until
    // the right is granted or refused, which may mean for a person, for ten minutes at most; with
    // `wait` also until the tool has finished writing. The tool must be an absolute path.
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

    // By asking a person, now or when the first tool is executed; null when there is nobody to
    // ask, or the answer is no.
    virtual std::unique_ptr<Authorization> authorize() = 0;

    // By an administrator's name and password, without asking anybody. The password is not kept.
    virtual Result<std::unique_ptr<Authorization>> authorize(const std::string& user,
                                                             const Secret& password) = 0;
};

}  // namespace larkspan::platform
