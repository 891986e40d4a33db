#pragma once

#include "foundation/Path.h"
#include "platform/StandardPlaces.h"

#include <optional>
#include <string>

namespace larkspan {

enum class UserDomain { no, yes };  // no: the local domain, for all users of the machine
enum class ExactMatch { no, yes };

// Where standard folders lie. Operations without state; nothing is created; any thread.
//
// A process of user id 0 that acts for somebody else (see StandardPlaces::consoleUser) gets that
// user's folders in the user domain, not its own. With nobody to act for, its user domain is empty.
class ZBLocalPaths {
  public:
    // The preferred folder of a kind; empty when there is none.
    static std::optional<Path> pathForDirectory(platform::DirectoryKind kind,
                                                platform::Domain forUserDomain);

    static std::optional<Path> applicationDirectory(UserDomain domain);
    static std::optional<Path> adminApplicationDirectory(UserDomain domain);
    static std::optional<Path> documentDirectory(UserDomain domain);
    static std::optional<Path> libraryDirectory(UserDomain domain);
    static std::optional<Path> prefsDirectory(UserDomain domain);  // Library/Preferences
    static std::optional<Path> cacheDirectory(UserDomain domain);
    static std::optional<Path> appSupportDirectory(UserDomain domain);
    static std::optional<Path> logDirectory(UserDomain domain);  // Library/Logs
    static std::optional<Path> movieDirectory();
    static std::optional<Path> desktopDirectory();
    static std::optional<Path> systemLibraryDirectory();
    static std::optional<Path> localDocumentationDirectory();
    static std::optional<Path> darwinCacheDirectory();
    static Path tempDirectory();
    static std::optional<Path> trashDirectory();

    // Home and name of the user for whom the process acts.
    static std::optional<Path> userDirectory();
    static std::optional<std::string> username();
    // The user at the console; empty when nobody is.
    static std::optional<std::string> currentConsoleUser();
    // The path with a "~" at its start replaced by that home.
    static Path expandingTilde(const Path& path);
    // Whether a process of root, or one that root started, works in another user's name.
    static bool actsForConsoleUser();

    // A globally unique string, new at every call.
    static std::string uuid();
    // `length` characters of a to z and 0 to 9. Not for secrets: two calls within one reading of
    // the clocks give the same string.
    static std::string randomString(size_t length);
    // A name in the temporary folder that is free; nothing is created.
    static Path tempFile();

    // Whether a path is a standard folder that must never be removed or trashed; without an exact
    // match also what lies in the system's own trees. Compares text, see the source for its rules.
    static bool isPathSystemDirectory(const Path& path, ExactMatch exactMatch = ExactMatch::no);
    // Whether the path, through whatever links, slashes and dots, is one of those protected with an
    // exact match. What acts on a path asks this; a link to such a folder counts as the folder.
    static bool leadsToSystemDirectory(const Path& path);
    static bool isPathOnTimeMachineVolume(const Path& path);
};

}  // namespace larkspan
