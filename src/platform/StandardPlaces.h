#pragma once

#include "foundation/Path.h"

#include <optional>
#include <string>
#include <vector>

namespace larkspan::platform {

enum class DirectoryKind {
    applications,
    adminApplications,
    documents,
    library,
    caches,
    applicationSupport,
    movies,
    desktop,
    documentation,
};

// User: the process's user. Local: this machine, for all users. System: what the system ships.
enum class Domain { user, local, system };

// Where standard folders lie and who the user is. Nothing is created. Any thread.
class StandardPlaces {
  public:
    virtual ~StandardPlaces() = default;

    // The folders of that kind, the preferred one first; empty when the system has none.
    virtual std::vector<Path> searchPaths(DirectoryKind kind, Domain domain) = 0;

    // Home of the process's user: HOME when set, so that setting HOME isolates everything.
    virtual Path homeDirectory() = 0;
    // Home of another user by name; empty when there is no such user.
    virtual std::optional<Path> homeDirectoryForUser(const std::string& name) = 0;

    virtual std::string userName() = 0;
    virtual unsigned userID() = 0;

    // The user in whose name a root process acts: the one at the console (seat0's active user),
    // else the one behind sudo, else the process's own. The process's own, too, when HOME is set
    // to something other than its user's home or the home of one of those: whoever does that wants
    // to be alone there. Empty only where the platform knows that nobody is logged in.
    virtual std::optional<std::string> consoleUser() = 0;

    // Whether root started this process, which belongs to the user in whose name it acts.
    virtual bool actsAsRoot() = 0;

    // The Trash as a path below a user's home, for example ".local/share/Trash/files".
    virtual std::string trashFolderInHome() = 0;

    // Folders beyond the standard ones that must never be removed or moved, whether they exist or
    // not: the system's, the standard ones in the home folder and all above it.
    virtual std::vector<Path> protectedFolders() = 0;

    // The name of the folder in which the users' home folders lie, for example "Users".
    virtual std::string usersFolderName() = 0;

    virtual Path temporaryDirectory() = 0;
    // The user's cache folder of the system; empty when there is none.
    virtual std::optional<Path> userCacheDirectory() = 0;
};

}  // namespace larkspan::platform
