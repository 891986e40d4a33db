#pragma once

#include "foundation/Date.h"
#include "foundation/Guarded.h"
#include "foundation/Path.h"

#include <optional>
#include <set>

namespace larkspan {

// What the engine keeps between its operations.
struct EngineState {
    // When a notice about a backup was last posted.
    Guarded<std::optional<Date>> lastAlertShown;
    // Expanded paths of the project files whose copy is under way.
    Guarded<std::set<Path>> currentBackups;
};

}  // namespace larkspan
