#include "platform/linux/ConsoleUser.h"

#include "foundation/Text.h"
#include "platform/linux/LinuxStandardPlaces.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/SystemCall.h"

#include <array>
#include <cerrno>
#include <string_view>
#include <vector>

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

extern char** environ;

namespace larkspan::platform {
namespace {

constexpr mode_t folderMode = 0755;

std::map<std::string, std::string> currentEnvironment() {
    std::map<std::string, std::string> variables;
    for (char** at = environ; at && *at; ++at) {
        const std::string_view text = *at;
        const size_t equals = text.find('=');
        if (equals == std::string_view::npos) continue;
        variables.emplace(text.substr(0, equals), text.substr(equals + 1));
    }
    return variables;
}

// The folder and those above it are root's, so that nobody can plant a link there; in the last one
// the user may do as he likes.
bool giveFolder(const Path& folder, const UserEntry& user) {
    const mode_t mask = ::umask(0777 & ~folderMode);  // the user is to get there
    Path path("/");
    bool made = true;
    for (const std::string& component : folder.pathComponents()) {
        path = path / component;
        made = made && (::mkdir(path.c_str(), folderMode) == 0 || errno == EEXIST);
    }
    ::umask(mask);
    const FileDescriptor opened(
        ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    return made && opened && ::fchown(opened.get(), user.userID, user.groupID) == 0;
}

std::optional<Error> takeIDs(const UserEntry& user) {
    if (::initgroups(user.name.c_str(), user.groupID) == 0 &&
        ::setresgid(user.groupID, user.groupID, user.groupID) == 0 &&
        ::setresuid(user.userID, user.userID, user.userID) == 0) {
        return std::nullopt;
    }
    return posixError(errno, "acting for user " + user.name);
}

// Returns only when that fails.
Error replaceProgram(char** arguments, const std::map<std::string, std::string>& environment) {
    std::vector<std::string> texts;
    for (const auto& [name, value] : environment) texts.push_back(joined({name, value}, "="));
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    ::execve("/proc/self/exe", arguments, pointers.data());
    return posixError(errno, "starting as the user that root acts for");
}

}  // namespace

std::map<std::string, std::string> environmentForUser(
    std::map<std::string, std::string> environment, const UserEntry& user, const Path& homeOfRoot) {
    constexpr std::array ofThePlaces = {"XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME",
                                        "XDG_STATE_HOME"};
    constexpr std::array ofTheSession = {"TMPDIR", "XAUTHORITY"};
    const auto removeWhere = [&](const char* name, const auto& isWrong) {
        const auto found = environment.find(name);
        if (found != environment.end() && isWrong(Path(found->second))) environment.erase(found);
    };
    for (const char* name : ofThePlaces) {
        removeWhere(name, [&](const Path& path) { return !path.isWithin(user.home); });
    }
    for (const char* name : ofTheSession) {
        removeWhere(name, [&](const Path& path) { return path.isWithin(homeOfRoot); });
    }
    // The user's bus is found through the runtime folder.
    environment.erase("DBUS_SESSION_BUS_ADDRESS");
    environment.insert_or_assign("XDG_RUNTIME_DIR", "/run/user/" + std::to_string(user.userID));
    environment.insert_or_assign("HOME", user.home.str());
    environment.insert_or_assign("USER", user.name);
    environment.insert_or_assign("LOGNAME", user.name);
    environment.insert_or_assign(actsForVariable, std::to_string(user.userID));
    return environment;
}

std::optional<Error> becomeConsoleUser(char** arguments, const Path& folderOfUser) {
    if (::geteuid() != 0) return std::nullopt;
    LinuxStandardPlaces places;
    const std::optional<std::string> name = places.consoleUser();
    const std::optional<UserEntry> user = name ? userNamed(*name) : std::nullopt;
    if (!user || user->userID == ::geteuid()) return std::nullopt;
    if (!user->home.isAbsolute()) return posixError(EINVAL, "home of user " + user->name);

    const std::vector<Path> library = places.searchPaths(DirectoryKind::library, Domain::local);
    // Whoever needs it reports that it is not there.
    (void)giveFolder(library.front() / folderOfUser.str(), *user);
    const auto root = userWithID(0);
    const auto environment =
        environmentForUser(currentEnvironment(), *user, root ? root->home : Path("/root"));
    if (auto error = takeIDs(*user)) return error;
    return replaceProgram(arguments, environment);
}

}  // namespace larkspan::platform
