#pragma once

#include <functional>
#include <string>

namespace larkspan::platform {

// Where a path leads when it is followed name by name.
struct TrailEnd {
    int error = 0;        // 0: to a folder; else an errno value, ENOTDIR for something else
    std::string folder;   // the last folder on the way, without links but with ".." as given
    std::string awaited;  // the name in it that is missing or no folder
};

// Follows the path through folders and links. Calls `visit` for every folder and link on the way,
// always before it looks behind it.
TrailEnd followTrail(const std::string& path,
                     const std::function<void(const std::string& place, bool isLink)>& visit);

// The folder's path without links and "..", as mount points are told; as given where that cannot be
// told.
std::string withoutDots(const std::string& folder);

// Of the file system that the folder is on, as in Mount; "" where there is no folder.
std::string deviceOf(const std::string& folder);

// Whether a path is a link, and whether that leads to a folder, as far as the system tells: a disk
// that answers nothing for a moment must not make an end of what is known.
enum class LinkTarget { isNoLink, folder, otherItem, missing, cannotBeTold };
LinkTarget linkTarget(const std::string& path);

}  // namespace larkspan::platform
