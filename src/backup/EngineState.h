#pragma once

#include "backup/UnrestedProjects.h"
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
    // Projects that are being written, by their expanded paths.
    Guarded<UnrestedProjects> unrested;
};

}  // namespace larkspan
