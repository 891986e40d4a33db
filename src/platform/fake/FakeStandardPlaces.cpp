#include "platform/fake/FakeStandardPlaces.h"

namespace larkspan::platform {

FakeStandardPlaces::FakeStandardPlaces(const Path& root)
    : home(root / "home"), temporary(root / "tmp"), cache(root / "home/Library/Caches") {
    const std::pair<Domain, Path> bases[] = {
        {Domain::user, home}, {Domain::local, root / "local"}, {Domain::system, root / "system"}};
    for (const auto& [domain, base] : bases) {
        const auto put = [&, &where = domain, &below = base](DirectoryKind kind, const char* name) {
            folders[{kind, where}] = {below / name};
        };
        put(DirectoryKind::applications, "Applications");
        put(DirectoryKind::adminApplications, "Applications/Utilities");
        put(DirectoryKind::library, "Library");
        put(DirectoryKind::applicationSupport, "Library/Application Support");
        put(DirectoryKind::caches, "Library/Caches");
        put(DirectoryKind::documentation, "Library/Documentation");
        if (domain != Domain::user) continue;
        put(DirectoryKind::documents, "Documents");
        put(DirectoryKind::desktop, "Desktop");
        put(DirectoryKind::movies, "Movies");
    }
}

std::vector<Path> FakeStandardPlaces::searchPaths(DirectoryKind kind, Domain domain) {
    const auto found = folders.find({kind, domain});
    return found == folders.end() ? std::vector<Path>() : found->second;
}

std::optional<Path> FakeStandardPlaces::homeDirectoryForUser(const std::string& name) {
    if (name == user) return home;
    const auto found = otherHomes.find(name);
    return found == otherHomes.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace larkspan::platform
