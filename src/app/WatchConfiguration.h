#pragma once

#include "app/ChangedFolder.h"
#include "backup/WatchFolder.h"
#include "discovery/FolderScan.h"
#include "foundation/Date.h"
#include "foundation/Path.h"
#include "foundation/Value.h"
#include "kit/Preferences.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace larkspan {

// What the preferences say about watching, as functions of values.

// The entries of a preference (watchFolders, watchDriveFolders) that name a folder.
std::vector<WatchFolder> watchFolders(const Preferences& preferences, const char* key);

// Whether an element is a plain prefix of the path, with no regard for component boundaries.
bool containsParentFolder(const std::vector<Path>& array, const Path& forPath);

// The folders to watch, without duplicates: every watch folder but those of Final Cut projects and
// events, which are watched through the projects found in them; then each project's folder that no
// listed path is a prefix of, unless the project is a bundle that is watched through its own.
std::vector<Path> watchPaths(const std::vector<WatchFolder>& folders,
                             const std::vector<Path>& projects);

// The folders that a discovery run looks through. With a path: the watch folders that are a prefix
// of it. Drive folders apply to each volume; with a path they count only when the path begins with
// the folder as it is stored, relative as it is. That is deliberate: a run for one change does not
// go through every drive.
std::vector<WatchFolder> discoveryFolders(const std::vector<WatchFolder>& folders,
                                          const std::vector<WatchFolder>& driveFolders,
                                          const std::vector<Path>& volumes,
                                          const std::optional<Path>& path);

// The trees of these watch folders.
std::vector<ScannedFolder> wholeFolders(const std::vector<WatchFolder>& folders);

// The changed folders in which a discovery run through these watch folders would come by, with the
// types of each watch folder that holds them (by components): those alone, or their trees where all
// below may have changed. Of a changed tree that holds watch folders, these.
std::vector<ScannedFolder> changedFoldersWithin(const std::vector<WatchFolder>& folders,
                                                const std::vector<ChangedFolder>& changed);

// Seconds between scheduled backups: the interval of the user's in minutes and 30 seconds more, or
// 630. The 30 seconds are deliberate: a version's least age has passed when the timer fires.
std::chrono::seconds backupInterval(const Preferences& preferences);

// Whether an event for a folder (ending in "/") comes from the front-end's own restore of a version
// less than 20 seconds ago. Without a restore date every such event does.
bool isFromRestore(const Path& folder, const Preferences& preferences, Date now);

}  // namespace larkspan
