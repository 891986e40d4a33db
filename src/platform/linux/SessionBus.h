#pragma once

#include <string>

namespace larkspan::platform {

// The address of the session's message bus as the environment gives it; "" when there is none. A
// bus is never started for us.
std::string sessionBusAddress();

}  // namespace larkspan::platform
