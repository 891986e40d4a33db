#pragma once

#include "backup/WatchFolder.h"
#include "foundation/Path.h"
#include "foundation/Value.h"
#include "frontend/Command.h"
#include "kit/Preferences.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace larkspan {

// The folders to watch as the preference watchFolders keeps them. What the list holds beside
// proper entries is left as it is.

inline constexpr const char* watchFoldersKey = "watchFolders";
inline constexpr const char* defaultExtensions =
    "fcp,fcpproject,fcpevent,fcpbundle,fcpxml,fcpxmld,prproj,xml,kdenlive,mlt,otio,osp,drp,aep";

// "/Edit" of "/Edit/"; "/" stays.
Path withoutSlash(const Path& path);

// The proper entries, their folders without a slash at the end.
std::vector<WatchFolder> watchEntries(const Value::Array& list);

// "fcp, .PRPROJ,," is "fcp,prproj"; "" when nothing is left.
std::string tidyExtensions(const std::string& list);

// The list with the folder in it. A folder that is there already only gets its extensions.
Value::Array withFolder(Value::Array list, const Path& folder, const std::string& extensions);
Value::Array withoutFolder(Value::Array list, const Path& folder);

// Why a folder must not be watched together with this version store: one holds the other, so that
// versions would be taken for projects. "" when it may be. Folders whose names begin with a dot
// are never looked into, so a store below one is out of reach.
std::string storeConflict(const Path& folder, const Path& storeRoot);

// Watch entries that hold the folder or lie in it.
std::vector<Path> overlappingFolders(const std::vector<WatchFolder>& entries, const Path& folder);

// The entries that somebody may have meant who typed a folder that is not listed.
std::vector<Path> nearFolders(const std::vector<WatchFolder>& entries, const Path& typed);

enum class Addition { added, changed, unchanged, failed };

// Checks the folder and puts it on the list; without extensions a listed folder keeps its own and
// a new one gets the default ones. What goes wrong is said to the user.
Addition addWatchFolder(Context& context, const Path& folder,
                        const std::optional<std::string>& extensions);

// The extensions of a folder as the list has them now; "" when it is not listed.
std::string listedExtensions(Context& context, const Path& folder);

// Stores what the change makes of the list as it is by then, which another program may have changed
// since it was read. False, with the reason said, when that failed.
bool changeWatchList(Context& context,
                     const std::function<Value::Array(const Value::Array& list)>& change);

// The stored list; an empty one when there is none. Nothing, with the reason said, when it cannot
// be read or the preference holds something else.
std::optional<Value::Array> readWatchList(Context& context);

}  // namespace larkspan
