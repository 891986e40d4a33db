#pragma once

#include "foundation/Path.h"
#include "platform/Privileges.h"

#include <optional>
#include <string_view>
#include <vector>

namespace larkspan::platform {

struct LoginSession {
    unsigned userID = 0;
    bool isActive = false;
    bool isRemote = false;
    bool isGraphical = false;
    bool isPersons = false;  // not that of the login screen, of a service, in the background
};

// A session as logind describes it in a file of lines KEY=VALUE.
LoginSession parseLoginSession(std::string_view text);

// What tells whether somebody is there who can be asked.
struct PersonFacts {
    unsigned userID = 0;
    bool hasTerminal = false;
    bool hasDisplay = false;
    std::optional<std::vector<LoginSession>> sessions = {};  // empty where nobody keeps them

    // As they are now. `sessions` is the folder of logind's files.
    static PersonFacts ofThisProcess(const Path& sessions = Path("/run/systemd/sessions"));
};

bool personCanBeAsked(const PersonFacts& facts, Asking asking);

}  // namespace larkspan::platform
