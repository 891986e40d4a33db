#include "backup/WatchFolder.h"

#include "foundation/Text.h"

namespace larkspan {

std::optional<WatchFolder> watchFolder(const Value& entry) {
    const Value* folder = entry.find("folder");
    const Value* extensions = entry.find("extensions");
    if (!folder || !folder->string()) return std::nullopt;
    const std::string* list = extensions ? extensions->string() : nullptr;
    return WatchFolder{Path(*folder->string()), list ? *list : std::string()};
}

bool isWatchedThroughProjects(const Path& folder) {
    const std::string name = lowercased(folder.lastPathComponent());
    return name == "final cut projects" || name == "final cut events";
}

}  // namespace larkspan
