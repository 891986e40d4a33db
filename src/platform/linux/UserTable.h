#pragma once

#include "foundation/Path.h"

#include <optional>
#include <string>

namespace larkspan::platform {

struct UserEntry {
    std::string name;
    Path home;
    unsigned userID = 0;
    unsigned groupID = 0;
};

// Look-ups in the system's table of users; empty when there is no such user. Any thread.
std::optional<UserEntry> userWithID(unsigned userID);
std::optional<UserEntry> userNamed(const std::string& name);

}  // namespace larkspan::platform
