#include "platform/linux/LinuxStandardPlaces.h"

#include "foundation/Text.h"
#include "platform/linux/ConsoleUser.h"
#include "platform/linux/StandardizedPath.h"
#include "platform/linux/UserTable.h"
#include "platform/posix/SmallFile.h"

#include <cstdlib>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace larkspan::platform {
namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// The value of KEY="value" in a shell-like file, its quotes and backslashes taken away; the last
// line of that key counts, as for a shell.
std::optional<std::string> shellValue(const std::string& content, std::string_view key) {
    std::optional<std::string> result;
    for (const std::string& line : split(content, '\n')) {
        std::string_view rest = trimmed(line);
        if (!rest.starts_with(key) || !rest.substr(key.size()).starts_with("=\"")) continue;
        rest.remove_prefix(key.size() + 2);
        std::string value;
        for (size_t at = 0; at < rest.size() && rest[at] != '"'; ++at) {
            if (rest[at] == '\\' && at + 1 < rest.size()) ++at;
            value.push_back(rest[at]);
        }
        result = value;
    }
    return result;
}

}  // namespace

PlacesEnvironment PlacesEnvironment::ofThisProcess() {
    return {.home = variable("HOME"),
            .dataHome = variable("XDG_DATA_HOME"),
            .cacheHome = variable("XDG_CACHE_HOME"),
            .configHome = variable("XDG_CONFIG_HOME"),
            .temporaryFolder = variable("TMPDIR"),
            .sudoUser = variable("SUDO_USER"),
            .actsFor = variable(actsForVariable),
            .userID = ::geteuid()};
}

LinuxStandardPlaces::LinuxStandardPlaces(PlacesEnvironment environment)
    : environment_(std::move(environment)) {
    const std::optional<UserEntry> user = userWithID(environment_.userID);
    const Path ownHome = user && user->home.isAbsolute() ? standardizedPath(user->home) : Path("/");
    const bool given = environment_.home.starts_with('/');
    userName_ = user ? user->name : std::to_string(environment_.userID);
    home_ = given ? standardizedPath(Path(environment_.home)) : ownHome;
    homeIsElsewhere_ = given && home_ != ownHome;
}

Path LinuxStandardPlaces::baseFolder(const std::string& variable, const char* inHome) const {
    return variable.starts_with('/') ? standardizedPath(Path(variable)) : home_ / inHome;
}

// Read at every call: the desktop lets users move these folders at any time.
Path LinuxStandardPlaces::userFolder(const char* key, const char* otherwise) const {
    const Path file = baseFolder(environment_.configHome, ".config") / "user-dirs.dirs";
    const std::string value =
        shellValue(readSmallFile(file).value_or(std::string()), key).value_or(std::string());
    constexpr std::string_view homeVariable = "$HOME";
    if (value == homeVariable) return home_;
    if (value.starts_with("$HOME/")) return home_ / value.substr(homeVariable.size());
    return value.starts_with('/') ? Path(value) : home_ / otherwise;
}

std::vector<Path> LinuxStandardPlaces::userPaths(DirectoryKind kind) const {
    switch (kind) {
        case DirectoryKind::applications:
        case DirectoryKind::adminApplications:
            return {home_ / "Applications"};
        case DirectoryKind::documents:
            return {userFolder("XDG_DOCUMENTS_DIR", "Documents")};
        case DirectoryKind::desktop:
            return {userFolder("XDG_DESKTOP_DIR", "Desktop")};
        case DirectoryKind::movies:
            return {userFolder("XDG_VIDEOS_DIR", "Videos")};
        case DirectoryKind::library:
            return {baseFolder(environment_.dataHome, ".local/share") / "larkspan"};
        case DirectoryKind::applicationSupport:
            return {baseFolder(environment_.dataHome, ".local/share") / "larkspan" /
                    "Application Support"};
        case DirectoryKind::caches:
            return {baseFolder(environment_.cacheHome, ".cache") / "larkspan"};
        case DirectoryKind::documentation:
            return {};
    }
    return {};
}

std::vector<Path> LinuxStandardPlaces::searchPaths(DirectoryKind kind, Domain domain) {
    if (domain == Domain::user) return userPaths(kind);
    const bool local = domain == Domain::local;
    const Path library(local ? "/var/lib/larkspan" : "/usr/share/larkspan");
    switch (kind) {
        case DirectoryKind::library:
            return {library};
        case DirectoryKind::applicationSupport:
            return {library / "Application Support"};
        case DirectoryKind::applications:
            if (local) return {Path("/opt")};
            break;
        case DirectoryKind::adminApplications:
            if (local) return {Path("/opt/sbin")};
            break;
        case DirectoryKind::caches:
            if (local) return {Path("/var/cache/larkspan")};
            break;
        case DirectoryKind::documentation:
            if (local) return {Path("/usr/share/doc")};
            break;
        case DirectoryKind::documents:
        case DirectoryKind::desktop:
        case DirectoryKind::movies:
            break;
    }
    return {};
}

std::optional<Path> LinuxStandardPlaces::homeDirectoryForUser(const std::string& name) {
    // The process's own user lives where HOME says.
    if (name == userName_) return home_;
    const std::optional<UserEntry> user = userNamed(name);
    if (!user) return std::nullopt;
    return user->home;
}

std::optional<std::string> LinuxStandardPlaces::activeUserOfSeat() const {
    constexpr std::string_view key = "ACTIVE_UID=";
    constexpr long firstPerson = 1000;  // smaller numbers but root's are system accounts
    const std::string seat = readSmallFile(environment_.seat).value_or(std::string());
    for (const std::string& line : split(seat, '\n')) {
        if (!line.starts_with(key) || line.size() == key.size()) continue;
        const long userID = integerValue(std::string_view(line).substr(key.size()));
        if (userID != 0 && userID < firstPerson) return std::nullopt;
        const std::optional<UserEntry> user = userWithID(static_cast<unsigned>(userID));
        if (user) return user->name;
    }
    return std::nullopt;
}

std::optional<std::string> LinuxStandardPlaces::consoleUser() {
    std::optional<std::string> atConsole = activeUserOfSeat();
    const auto behindSudo = userNamed(environment_.sudoUser);
    if (!homeIsElsewhere_) {
        if (atConsole) return atConsole;
        return behindSudo ? behindSudo->name : userName_;
    }
    // sudo can be told to keep HOME.
    for (const auto& user : {atConsole ? userNamed(*atConsole) : std::nullopt, behindSudo}) {
        if (user && standardizedPath(user->home) == home_) return user->name;
    }
    return userName_;
}

bool LinuxStandardPlaces::actsAsRoot() {
    return environment_.userID != 0 && environment_.actsFor == std::to_string(environment_.userID);
}

std::string LinuxStandardPlaces::trashFolderInHome() {
    const char* const usual = ".local/share";
    const Path data = baseFolder(environment_.dataHome, usual);
    const bool inHome = data.isWithin(home_) && data != home_;
    const std::string below = inHome ? data.str().substr(home_.str().size()) : usual;
    return (Path(below) / "Trash/files").str().substr(below.starts_with('/') ? 1 : 0);
}

std::vector<Path> LinuxStandardPlaces::protectedFolders() {
    std::vector<Path> folders;
    for (const char* path :
         {"/bin",       "/boot",      "/dev",       "/efi",       "/etc",       "/home",
          "/lib",       "/lib32",     "/lib64",     "/libx32",    "/media",     "/mnt",
          "/opt",       "/proc",      "/root",      "/run",       "/sbin",      "/snap",
          "/srv",       "/sys",       "/tmp",       "/usr",       "/var",       "/run/media",
          "/run/user",  "/usr/bin",   "/usr/lib",   "/usr/lib32", "/usr/lib64", "/usr/libexec",
          "/usr/local", "/usr/sbin",  "/usr/share", "/var/cache", "/var/lib",   "/var/log",
          "/var/mail",  "/var/spool", "/var/tmp"}) {
        folders.emplace_back(path);
    }
    for (const char* media : {"/media", "/run/media"}) folders.push_back(Path(media) / userName_);
    for (const char* name : {".config", ".cache", ".gnupg", ".local", ".local/bin", ".local/share",
                             ".local/state", ".ssh"}) {
        folders.push_back(home_ / name);
    }
    folders.push_back(baseFolder(environment_.dataHome, ".local/share"));
    folders.push_back(baseFolder(environment_.cacheHome, ".cache"));
    folders.push_back(baseFolder(environment_.configHome, ".config"));
    constexpr std::pair<const char*, const char*> userFolders[] = {
        {"XDG_DESKTOP_DIR", "Desktop"},     {"XDG_DOCUMENTS_DIR", "Documents"},
        {"XDG_DOWNLOAD_DIR", "Downloads"},  {"XDG_MUSIC_DIR", "Music"},
        {"XDG_PICTURES_DIR", "Pictures"},   {"XDG_PUBLICSHARE_DIR", "Public"},
        {"XDG_TEMPLATES_DIR", "Templates"}, {"XDG_VIDEOS_DIR", "Videos"}};
    for (const auto& [key, otherwise] : userFolders) folders.push_back(userFolder(key, otherwise));
    for (Path above = home_; above.str() != "/"; above = above.deletingLastPathComponent()) {
        folders.push_back(above);
    }
    return folders;
}

Path LinuxStandardPlaces::temporaryDirectory() {
    const bool given = environment_.temporaryFolder.starts_with('/');
    return Path(given ? environment_.temporaryFolder : "/tmp");
}

std::optional<Path> LinuxStandardPlaces::userCacheDirectory() {
    return baseFolder(environment_.cacheHome, ".cache");
}

}  // namespace larkspan::platform
