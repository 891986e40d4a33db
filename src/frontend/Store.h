#pragma once

#include "backup/ProjectList.h"
#include "backup/VersionName.h"
#include "foundation/Date.h"
#include "foundation/Path.h"
#include "platform/Files.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace larkspan {

// A project as the version store knows it.
struct StoredProject {
    ProjectID id;
    Path path;  // of the project file, with its tilde expanded
    std::string displayName() const { return projectDisplayName(path); }
};

struct StoredVersion {
    VersionNumber number;
    Path file;
    Date saved;  // the project file's modification date, which the copy keeps
    Date taken;  // when the version appeared in the store
    std::optional<Path> rendition;
};

// Reads the version store and changes nothing in it. One thread at a time.
class Store {
  public:
    explicit Store(Path root);
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    const Path& root() const { return root_; }

    // In the order of the store's listing; none when there is no store.
    std::vector<StoredProject> projects();
    // The store, or project folders in it, that could not be read in any call of projects().
    const std::map<Path, Error>& unreadable() const { return unreadable_; }

    // The versions of a project by number. Hidden names and what bears no number are no versions;
    // an XML rendition belongs to the version with its number. None where there is no folder of
    // versions; an error where it cannot be read.
    Result<std::vector<StoredVersion>> versions(const StoredProject& project) const;

    // Bytes of a file, or of all files in a folder.
    static std::uint64_t size(const Path& item);

  private:
    Path root_;
    std::map<Path, Error> unreadable_;
    ProjectList list_;
};

// Projects sorted by display name, then path, then identifier.
std::vector<StoredProject> sortedByName(std::vector<StoredProject> projects);

}  // namespace larkspan
