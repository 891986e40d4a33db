#include "kit/ZBLocalPaths.h"

#include "foundation/Uuid.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <random>

namespace larkspan {

using platform::DirectoryKind;
using platform::Domain;

namespace {

platform::StandardPlaces& places() {
    return platform::Platform::current().places;
}

bool isRoot() {
    return places().userID() == 0;
}

Domain domainFor(UserDomain domain) {
    return domain == UserDomain::yes ? Domain::user : Domain::local;
}

std::optional<Path> appended(const std::optional<Path>& folder, std::string_view component) {
    if (!folder) return std::nullopt;
    return *folder / component;
}

// What of a root process's own folder is to be looked for in another user's home.
std::string withoutRootsHome(std::string path) {
    const std::string home = places().homeDirectory().str();
    if (home != "/" && path.starts_with(home)) path.erase(0, home.size());
    if (path.starts_with("/var/root")) path.erase(0, 9);
    // docs/behaviour.md, fixed 19
    if (path.starts_with("/private/var/root")) path.erase(0, 16);
    return path;
}

// Every folder that is protected with an exact match, the root aside.
std::vector<Path> protectedFolders() {
    const std::optional<Path> standard[] = {
        ZBLocalPaths::applicationDirectory(UserDomain::yes),
        ZBLocalPaths::applicationDirectory(UserDomain::no),
        ZBLocalPaths::adminApplicationDirectory(UserDomain::yes),
        ZBLocalPaths::adminApplicationDirectory(UserDomain::no),
        ZBLocalPaths::documentDirectory(UserDomain::yes),
        ZBLocalPaths::documentDirectory(UserDomain::no),
        ZBLocalPaths::libraryDirectory(UserDomain::yes),
        ZBLocalPaths::libraryDirectory(UserDomain::no),
        ZBLocalPaths::prefsDirectory(UserDomain::yes),
        ZBLocalPaths::prefsDirectory(UserDomain::no),
        ZBLocalPaths::cacheDirectory(UserDomain::yes),
        ZBLocalPaths::cacheDirectory(UserDomain::no),
        ZBLocalPaths::appSupportDirectory(UserDomain::yes),
        ZBLocalPaths::appSupportDirectory(UserDomain::no),
        ZBLocalPaths::desktopDirectory(),
        ZBLocalPaths::userDirectory(),
        ZBLocalPaths::systemLibraryDirectory(),
        ZBLocalPaths::localDocumentationDirectory(),
        Path("/Users/Shared"),
        Path("/Volumes"),
    };
    std::vector<Path> folders;
    for (const auto& folder : standard) {
        if (folder) folders.push_back(*folder);
    }
    const std::vector<Path> further = places().protectedFolders();
    folders.insert(folders.end(), further.begin(), further.end());
    if (!isRoot() || !ZBLocalPaths::actsForConsoleUser()) return folders;
    // The same in the home of the user for whom root acts.
    const std::optional<Path> home = ZBLocalPaths::userDirectory();
    for (const Path& folder : further) {
        const bool isInHome = home && folder.isWithin(places().homeDirectory());
        if (isInHome) folders.push_back(*home / withoutRootsHome(folder.str()));
    }
    return folders;
}

bool isListed(const Path& path, const std::vector<Path>& folders) {
    return std::ranges::find(folders, path) != folders.end();
}

// Without doubled slashes, "." and "..", by the text alone.
Path withoutDots(const Path& path) {
    Path plain("/");
    for (const std::string& component : path.pathComponents()) {
        if (component == "..") {
            plain = plain.deletingLastPathComponent();
        } else if (component != ".") {
            plain = plain / component;
        }
    }
    return plain;
}

}  // namespace

std::optional<Path> ZBLocalPaths::pathForDirectory(DirectoryKind kind, Domain forUserDomain) {
    const std::vector<Path> paths = places().searchPaths(kind, forUserDomain);
    if (paths.empty()) return std::nullopt;
    if (!isRoot() || forUserDomain != Domain::user) return paths.front();
    const std::optional<Path> home = userDirectory();
    if (!home) return std::nullopt;
    if (!actsForConsoleUser()) return paths.front();
    return *home / withoutRootsHome(paths.front().str());
}

std::optional<Path> ZBLocalPaths::applicationDirectory(UserDomain domain) {
    return pathForDirectory(DirectoryKind::applications, domainFor(domain));
}
std::optional<Path> ZBLocalPaths::adminApplicationDirectory(UserDomain domain) {
    return pathForDirectory(DirectoryKind::adminApplications, domainFor(domain));
}
std::optional<Path> ZBLocalPaths::documentDirectory(UserDomain domain) {
    return pathForDirectory(DirectoryKind::documents, domainFor(domain));
}
std::optional<Path> ZBLocalPaths::libraryDirectory(UserDomain domain) {
    return pathForDirectory(DirectoryKind::library, domainFor(domain));
}
std::optional<Path> ZBLocalPaths::prefsDirectory(UserDomain domain) {
    return appended(libraryDirectory(domain), "Preferences");
}
std::optional<Path> ZBLocalPaths::cacheDirectory(UserDomain domain) {
    return pathForDirectory(DirectoryKind::caches, domainFor(domain));
}
std::optional<Path> ZBLocalPaths::appSupportDirectory(UserDomain domain) {
    return pathForDirectory(DirectoryKind::applicationSupport, domainFor(domain));
}
std::optional<Path> ZBLocalPaths::logDirectory(UserDomain domain) {
    return appended(libraryDirectory(domain), "Logs");
}
std::optional<Path> ZBLocalPaths::movieDirectory() {
    return pathForDirectory(DirectoryKind::movies, Domain::user);
}
std::optional<Path> ZBLocalPaths::desktopDirectory() {
    return pathForDirectory(DirectoryKind::desktop, Domain::user);
}
std::optional<Path> ZBLocalPaths::systemLibraryDirectory() {
    return pathForDirectory(DirectoryKind::library, Domain::system);
}
std::optional<Path> ZBLocalPaths::localDocumentationDirectory() {
    return pathForDirectory(DirectoryKind::documentation, Domain::local);
}
std::optional<Path> ZBLocalPaths::darwinCacheDirectory() {
    return places().userCacheDirectory();
}
Path ZBLocalPaths::tempDirectory() {
    return places().temporaryDirectory();
}
std::optional<Path> ZBLocalPaths::trashDirectory() {
    return appended(userDirectory(), places().trashFolderInHome());
}

std::optional<Path> ZBLocalPaths::userDirectory() {
    if (!isRoot()) return places().homeDirectory();
    const std::optional<std::string> user = currentConsoleUser();
    if (!user) return std::nullopt;
    if (*user == places().userName()) return places().homeDirectory();
    return places().homeDirectoryForUser(*user);
}

std::optional<std::string> ZBLocalPaths::username() {
    if (isRoot()) return currentConsoleUser();
    return places().userName();
}

std::optional<std::string> ZBLocalPaths::currentConsoleUser() {
    return places().consoleUser();
}

Path ZBLocalPaths::expandingTilde(const Path& path) {
    if (!path.hasPrefix("~")) return path;
    const std::optional<Path> home = userDirectory();
    return home ? path.expandingTilde(*home) : path;
}

bool ZBLocalPaths::actsForConsoleUser() {
    if (!isRoot()) return places().actsAsRoot();
    const std::optional<std::string> user = currentConsoleUser();
    return !user || *user != places().userName();
}

std::string ZBLocalPaths::uuid() {
    return generateUUID();
}

std::string ZBLocalPaths::randomString(size_t length) {
    constexpr std::string_view alphabet = "abcdefghijklmnopqrstuvwxyz0123456789";
    // Seeded anew at every call, on purpose: no state is kept between calls.
    const auto seed =
        static_cast<std::uint32_t>(std::clock()) * static_cast<std::uint32_t>(std::time(nullptr));
    std::minstd_rand generator(seed);
    std::string text;
    for (size_t i = 0; i < length; ++i) text += alphabet[generator() % alphabet.size()];
    return text;
}

Path ZBLocalPaths::tempFile() {
    return tempDirectory() / (uuid() + randomString(8));
}

bool ZBLocalPaths::isPathSystemDirectory(const Path& path, ExactMatch exactMatch) {
    std::string text = path.str();
    if (text == "/") return true;
    if (text.size() < 3) return false;
    // The slash and one letter more, on purpose: what a trailing slash protects stays as it was.
    if (text.ends_with('/')) text.erase(text.size() - 2);

    if (isListed(Path(text), protectedFolders())) return true;
    if (exactMatch == ExactMatch::yes) return false;

    // Plain prefixes without regard for component boundaries, on purpose: rather too much is
    // protected than too little.
    const auto isBelow = [&](const char* prefix) { return text.starts_with(prefix); };
    constexpr std::array systemTrees = {"/usr", "/var", "/private/var", "/System"};
    return std::any_of(systemTrees.begin(), systemTrees.end(), isBelow);
}

bool ZBLocalPaths::leadsToSystemDirectory(const Path& path) {
    if (isPathSystemDirectory(path, ExactMatch::yes)) return true;
    const std::vector<Path> folders = protectedFolders();
    const Path plain = withoutDots(path);
    if (path.isAbsolute() && (plain.str() == "/" || isListed(plain, folders))) return true;
    platform::Files& files = platform::Platform::current().files;
    const auto facts = files.info(path);
    if (!facts) return false;
    const auto isIt = [&](const Path& folder) {
        const auto other = files.info(folder);
        return other && other->identity == facts->identity;
    };
    return isIt(Path("/")) || std::ranges::any_of(folders, isIt);
}

bool ZBLocalPaths::isPathOnTimeMachineVolume(const Path& path) {
    if (!path.hasPrefix("/Volumes/")) return false;
    const std::vector<std::string> components = path.pathComponents();
    return std::find(components.begin(), components.end(), "Backups.backupdb") != components.end();
}

}  // namespace larkspan
