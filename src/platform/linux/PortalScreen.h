#pragma once

#include "foundation/Date.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan::platform {

// The desktop portal, as this process reaches it.
struct PortalAccess {
    std::string busAddress = {};  // "" when there is no session bus
    // What the portal may take this process for. Which of them it is depends on its version.
    std::vector<std::string> applicationIDs = {};
};

// The picture of the screen as an image file, asked of org.freedesktop.portal.Screenshot without
// interaction. Only where the user granted that before: the permission store has "yes" for every
// one of the identifiers, and the portal is of a version that looks there (2); else it would ask
// the user. A request that is not answered within the limit is withdrawn, which takes a fifth of a
// second more. Any thread.
std::optional<std::string> captureThroughPortal(const PortalAccess& access, Seconds limit);

// The identifiers for a process in that cgroup (the text of /proc/PID/cgroup): "" for a program
// outside any sandbox, and where the desktop has put the process into a unit of its own
// ("app-gnome-org.example.Editor-1234.scope") also the one in the unit's name.
std::vector<std::string> portalApplicationIDs(std::string_view cgroup);

}  // namespace larkspan::platform
