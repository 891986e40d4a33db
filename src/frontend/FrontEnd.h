#pragma once

#include "frontend/Command.h"

#include <string>
#include <vector>

namespace larkspan {

// The front-end's program without its surroundings: finds the command, checks how it is used and
// runs it. The arguments stand without the program's own name. Main thread only.
ExitStatus runFrontEnd(const std::vector<std::string>& arguments, Context& context);

}  // namespace larkspan
