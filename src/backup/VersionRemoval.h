#pragma once

#include "backup/RetentionRules.h"
#include "foundation/Path.h"
#include "platform/Files.h"

#include <map>
#include <string>

namespace larkspan {

// What a project's folder holds, listed once and kept up to date while versions are removed.
struct ProjectFolderListing {
    using Entries = std::map<std::string, platform::EntryKind, std::less<>>;

    // Lists the version folder and the screenshots beside it; what is missing has no entries.
    static ProjectFolderListing of(const Path& versionFolder);

    Path versionFolder;
    Entries versions;
    Entries screenshots;
};

// Removes single versions with all that belongs to them. No state; any thread.
namespace versionremoval {

// Removes a version from the folder of the listing: its entry in the change-list cache, the file,
// its copy or rendition, its picture, and the folder when it has become empty. Nothing happens when
// the listing does not hold it. Failures are logged; the listing then still holds what stayed.
void removeBackup(ProjectFolderListing& folder, const std::string& name, RemovalType removeType);

}  // namespace versionremoval

}  // namespace larkspan
