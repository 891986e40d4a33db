#pragma once

#include "foundation/Error.h"
#include "foundation/Path.h"
#include "platform/linux/UserTable.h"

#include <map>
#include <optional>
#include <string>

namespace larkspan::platform {

// In this variable a process that root started finds the id of the user it acts for.
inline constexpr const char* actsForVariable = "LARKSPAN_ACTS_FOR";

// The environment of a program that root starts for the user: that user's home and name, and of the
// places set for root those alone that lie in that home.
std::map<std::string, std::string> environmentForUser(
    std::map<std::string, std::string> environment, const UserEntry& user, const Path& homeOfRoot);

// Where root acts for somebody else (StandardPlaces::consoleUser), replaces this process by the
// same program that belongs to that user, for good: nothing in it can follow a link with root's
// rights, and every file it makes is that user's. Returns when there is nothing to do, else with
// what went wrong, and then nothing else must be done. Call it first in main, before other threads.
//
// `folderOfUser`, below the Library folder of the machine, is made before and given to the user.
[[nodiscard]] std::optional<Error> becomeConsoleUser(char** arguments, const Path& folderOfUser);

}  // namespace larkspan::platform
