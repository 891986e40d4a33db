#include "platform/linux/StandardizedPath.h"

namespace larkspan::platform {

Path standardizedPath(const Path& path) {
    Path standardized;
    for (const std::string& component : path.pathComponents()) {
        if (component == "/") {
            standardized = Path("/");
        } else if (component != ".") {
            standardized = standardized / component;
        }
    }
    return standardized;
}

}  // namespace larkspan::platform
