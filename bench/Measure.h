#pragma once

#include <string>
#include <vector>

namespace larkspan::bench {

// Operations of larkspan-measure. Each gets what follows its name on the command line and gives
// the exit status; wrong usage is 2.

// ROOT: writes "ready" to standard error when every folder below ROOT is watched, then each changed
// folder to standard output, one a line, ending in "/", until the process is killed.
int measureWatch(const std::vector<std::string>& arguments);

}  // namespace larkspan::bench
