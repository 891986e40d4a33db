#pragma once

#include "foundation/Path.h"

#include <string>
#include <string_view>
#include <vector>

namespace larkspan::platform {

// A line of /proc/self/mountinfo.
struct Mount {
    Path point;
    Path root;  // the folder of the file system that is seen there, "/" for all of it
    std::string type;
    std::string source;  // a device, or whatever the file system calls its origin
    std::string device;  // the number that files in it have: major, ":", minor
};

// In the order in which they were mounted. Lines that make no sense are left out.
std::vector<Mount> parseMountTable(std::string_view mountinfo);

// The mount points that a configuration like /etc/fstab names, but the root.
std::vector<Path> parseConfiguredMountPoints(std::string_view fstab);

// Whether file systems of that type do not report to this machine what others change in them: they
// lie on another machine, on the host of a virtual one, or are served by a program.
bool isSilentType(std::string_view type);

enum class MountKind {
    local,    // on a device of this machine, or something a user put under a volumes folder
    network,  // on another machine
    system,   // the system's own: /proc, /sys, packages mounted as images, single files and folders
};
MountKind kindOfMount(const Mount& mount, const std::vector<Path>& volumesFolders);

}  // namespace larkspan::platform
