#pragma once

#include "foundation/Path.h"

#include <chrono>
#include <string>

namespace larkspan {

enum class ShouldAuth { no, yes };

// Operations on files that log what goes wrong. No state; any thread.
class ZBFileManager {
  public:
    // Creates a folder with those above it; an existing folder is a success. False when its volume
    // is not mounted. Where rights are missing and `shouldAuth` says so, it is tried again with
    // administrator rights.
    [[nodiscard]] static bool createDirectory(const Path& path,
                                              ShouldAuth shouldAuth = ShouldAuth::yes);
    // The same, then waits at most that long until the folder is there.
    [[nodiscard]] static bool createDirectory(const Path& path, std::chrono::seconds timeout);

    // False when the path lies on a volume that is not mounted: below a volumes folder without its
    // volume, or on a configured mount point that is not mounted.
    static bool isVolumeMountedForPath(const Path& path);
    // The same, and names the mount point on the system console.
    static bool isDriveMountedForPath(const Path& path);

    // A failure is logged.
    static void setPosixPermissions(unsigned permissions, const Path& forFile);

    // Waits while a file is being written: while its modification date lies less than 4 seconds
    // in the past. With the name of a lock file, also logs when such a file stands beside it.
    // A date in the future counts as fresh until it has not changed for 4 seconds, and a file that
    // never comes to rest is given up after 10 minutes, so that the caller is never held for good.
    static void waitForFileWrites(const Path& path, const std::string& lockFile = {});

    // Whether a folder shows as one file: its name ends in app, bundle, framework, plugin,
    // fcpbundle, fcpproject or fcpevent, in any case.
    static bool isFilePackage(const Path& path);
};

}  // namespace larkspan
