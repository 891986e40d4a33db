#pragma once

#include "backup/RetentionRules.h"
#include "backup/StoreLayout.h"
#include "backup/VersionName.h"
#include "foundation/Date.h"
#include "foundation/Path.h"
#include "foundation/Value.h"
#include "platform/Clock.h"
#include "platform/Files.h"

#include <functional>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
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

// The store as one look found it.
struct ProjectListing {
    Path root;
    std::unique_ptr<platform::Folder> store;  // null when there is none
    std::vector<ProjectEntry> projects;       // in the order of the store's listing
    // Paths of projects whose settings cannot be read now and could before. They are left out of
    // `projects`, and are known all the same.
    std::vector<Path> unreadable;
    // False when some settings cannot be read and never could: which projects are known cannot be
    // told then.
    bool isComplete = true;
};

struct NewestVersion {
    std::string name;
    Date modificationDate;
    std::uint64_t size = 0;  // bytes; of no meaning for a folder
};

// How far a look at the store goes.
enum class Look {
    atEverySetting,
    // The settings of projects are taken as remembered while the store's own folder is unchanged:
    // for changes of single projects, which need not wait for a look at all others.
    atTheStoreFolder,
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

    // The known projects; none when the store is missing. Those whose settings cannot be read are
    // complained about and left out. An error when the store cannot be listed.
    Result<ProjectListing> list(const Path& root, Look look = Look::atEverySetting);

    // The newest version of a project; empty when there is none yet. `store` is the open root.
    Result<std::optional<NewestVersion>> newestVersion(platform::Folder& store,
                                                       const std::string& folderName);

    // Whether the project's versions are those of which noteNothingToRemove() was told, for the
    // same rules and a time not before its end. Looks at the version folder unless newestVersion()
    // did so since the last list().
    bool hasNothingToRemove(platform::Folder& store, const std::string& folderName,
                            const RetentionRules& rules);
    // Retention has nothing to do for the project before `until`, while its versions are those of
    // the last hasNothingToRemove().
    void noteNothingToRemove(const std::string& folderName, const RetentionRules& rules,
                             Date until);
    // The number of visible entries of the version folder at the last look; empty when unknown.
    std::optional<long> versionCount(const std::string& folderName);

    // Something in the project's version folder was changed by ourselves. What the project was
    // compared with may be gone, so that noteSettled() is forgotten, too.
    void forgetVersions(const std::string& folderName);

    // Remembers that the project, as it is now, needs no version although its date is not that of
    // the newest one; asked with isSettled().
    void noteSettled(const std::string& folderName, const platform::FileInfo& project);
    bool isSettled(const std::string& folderName, const platform::FileInfo& project);

  private:
    // What changes with a file or folder.
    struct State {
        platform::FileIdentity identity;
        std::uint64_t size = 0;
        Date modificationDate;
        Date attributeChangeDate;

        friend bool operator==(const State&, const State&) = default;
    };
    // The state when it was read.
    struct Seen {
        State state;
        bool settled = false;  // old enough to be trusted
    };
    struct Quiet {
        RetentionRules rules;
        Date until;
        Seen versions;
    };
    struct Known {
        std::optional<Seen> settings;
        std::optional<ProjectEntry> entry;  // empty: the settings name no project
        bool isUnreadable = false;          // the last look at the settings failed
        std::optional<Seen> versions;
        std::optional<std::string> newestName;
        long versionCount = 0;
        std::optional<Seen> versionsForRetention;
        std::optional<Quiet> quiet;
        std::optional<Seen> settledProject;
        long versionsLookedAtIn = 0;  // the number of the listing
        long metIn = 0;               // the same
        size_t place = 0;             // in listed_
    };

    using KnownProject = std::pair<const std::string, Known>;

    Known& known(const std::string& folderName);
    // The names joined with "/", good until the next call: thousands of paths take no memory each.
    const std::string& pathOf(std::initializer_list<std::string_view> names);
    Seen seen(const platform::FileInfo& info) const;
    static State stateOf(const platform::FileInfo& info);
    static bool isUnchanged(const std::optional<Seen>& before, const State& now);
    std::optional<Error> listStore(platform::Folder& store, Look look);
    void readSettings(platform::Folder& store, const std::string& folderName, Known& known);
    void settingsFailed(const std::string& folderName, Known& known, const Error& error);
    void parseSettings(const std::string& folderName, const std::string& bytes, Known& known);
    void complain(const std::string& folderName, const Error& error) const;
    std::optional<Error> lookAtVersions(platform::Folder& store, const std::string& folderName,
                                        Known& known);
    std::optional<Error> listVersions(platform::Folder& store, const std::string& versionsFolder,
                                      Known& known);

    platform::Files& files_;
    platform::Clock& clock_;
    Complaint complain_;
    std::mutex mutex_;
    std::string path_;  // pathOf()
    Path root_;         // of what is remembered
    std::optional<Seen> rootFolder_;
    long listings_ = 0;
    std::unordered_map<std::string, Known> known_;  // by the names of the projects' folders
    std::vector<KnownProject*> listed_;             // of those, in the order of the last listing
    size_t asked_ = 0;                              // place in it of the last one asked for
};

}  // namespace larkspan
