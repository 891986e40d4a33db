#pragma once

#include "foundation/Result.h"

#include <optional>
#include <string>
#include <vector>

namespace larkspan {

// Has the helper that runs already make a scan and waits for its end, however long that takes. The
// texts of the problems that it met; empty when no helper runs. One that is just starting or ending
// is waited for a few seconds. Not for the main thread.
Result<std::optional<std::vector<std::string>>> scanByRunningHelper();

}  // namespace larkspan
