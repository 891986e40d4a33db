#pragma once

#include "foundation/Path.h"
#include "foundation/Value.h"

#include <optional>
#include <string>

namespace larkspan {

// A folder to watch and the file extensions of projects in it, as the preferences watchFolders and
// watchDriveFolders keep them.
struct WatchFolder {
    Path folder;
    std::string extensions;  // separated by ","
};

// Empty for an entry that names no folder.
std::optional<WatchFolder> watchFolder(const Value& entry);

// Whether it is one of Final Cut's own folders of projects or events: those are not watched as a
// whole but through the projects found in them.
bool isWatchedThroughProjects(const Path& folder);

}  // namespace larkspan
