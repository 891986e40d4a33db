#pragma once

#include <cstdlib>

namespace larkspan::platform {

// Whether this process runs in a graphical session. Reads the environment.
inline bool hasDisplay() {
    for (const char* variable : {"DISPLAY", "WAYLAND_DISPLAY"}) {
        const char* value = std::getenv(variable);
        if (value && *value) return true;
    }
    return false;
}

}  // namespace larkspan::platform
