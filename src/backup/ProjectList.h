#pragma once

#include "backup/StoreLayout.h"
#include "backup/VersionName.h"
#include "foundation/Date.h"
#include "foundation/Path.h"
#include "foundation/Value.h"
#include "platform/Clock.h"
#include "platform/Files.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace larkspan {

// A project that the version store knows.
struct ProjectEntry {
    Path path;  // of the project file, as its settings hold it (may begin with a tilde)
    ProjectID projectID;
    std::optional<Value::Array> sequences;
    std::optional<std::string> selectedUUID;
};

struct NewestVersion {
    std::string name;
    Date modificationDate;
};

// Reads the version store. Remembers what it read of files and folders whose identity, size and
// dates have not changed since, so that a later look costs one stat each; what was changed only
// just before it was read is not trusted, since a second change could leave the same date. Any
// thread, one call at a time.
class ProjectList {
  public:
    // Told of a project folder whose settings cannot be read, once for each state of the file.
    using Complaint = std::function<void(const Path& folder, const Error& error)>;

    // Without a complaint of the caller's, unreadable settings are logged.
    ProjectList(platform::Files& files, platform::Clock& clock, Complaint complain = {})
        : files_(files), clock_(clock), complain_(std::move(complain)) {}

    // The known projects in the order of the store's listing; none when the store is missing.
    // Those whose settings cannot be read are complained about and skipped.
    std::vector<ProjectEntry> projects(const Path& root);

    // The newest version of a project; empty when there is none yet. `store` is the open root.
    std::optional<NewestVersion> newestVersion(platform::Folder& store,
                                               const std::string& folderName);

  private:
    // The state of a file or folder when it was read.
    struct Seen {
        platform::FileIdentity identity;
        std::uint64_t size = 0;
        Date modificationDate;
        Date attributeChangeDate;
        bool settled = false;  // old enough to be trusted
    };
    struct Known {
        std::optional<Seen> settings;
        std::optional<ProjectEntry> entry;  // empty: the settings name no project
        std::optional<Seen> versions;
        std::optional<std::string> newestName;
        bool met = false;  // in the listing of the latest run
    };

    Seen seen(const platform::FileInfo& info) const;
    static bool isUnchanged(const std::optional<Seen>& before, const platform::FileInfo& now);
    void readSettings(platform::Folder& store, const std::string& folderName, Known& known);
    std::optional<ProjectEntry> parseSettings(const std::string& folderName,
                                              const Result<std::string>& bytes) const;
    static std::optional<std::string> newestName(platform::Folder& store,
                                                 const std::string& versionsFolder);

    platform::Files& files_;
    platform::Clock& clock_;
    Complaint complain_;
    std::mutex mutex_;
    Path root_;  // of what is remembered
    std::map<std::string, Known, std::less<>> known_;
};

}  // namespace larkspan
