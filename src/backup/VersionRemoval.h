#pragma once

#include "backup/RetentionRules.h"
#include "foundation/Path.h"
#include "platform/Files.h"

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace larkspan {

// An open folder and what it holds, listed once.
struct ListedFolder {
    ListedFolder(Path path, std::unique_ptr<platform::Folder> folder,
                 const std::vector<platform::DirectoryEntry>& entries);
    // Opens and lists it; one that is missing has no entries.
    explicit ListedFolder(const Path& path);

    Path path;
    std::unique_ptr<platform::Folder> folder;  // null when it is missing
    std::unordered_map<std::string, platform::EntryKind> entries;
};

// What a project's folder holds, kept up to date while versions are removed.
struct ProjectFolderListing {
    // Lists the screenshots beside the version folder.
    explicit ProjectFolderListing(ListedFolder versions);

    ListedFolder versions;
    ListedFolder screenshots;
    std::optional<Path> cache;  // the change-list cache that may speak of these versions
};

// Removes single versions with all that belongs to them. No state; any thread.
namespace versionremoval {

// Removes a version from the listed folder: its entry in the change-list cache, the file,
// its copy or rendition, its picture, and the folder when it has become empty. Nothing happens when
// the listing does not hold it. Failures are logged; the listing then still holds what stayed.
void removeBackup(ProjectFolderListing& listing, const std::string& name, RemovalType removeType);

}  // namespace versionremoval

}  // namespace larkspan
