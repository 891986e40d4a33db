#include "frontend/Store.h"

#include "foundation/Text.h"
#include "kit/ZBLocalPaths.h"
#include "platform/Platform.h"

#include <algorithm>
#include <map>
#include <tuple>

namespace larkspan {
namespace {

platform::Files& files() {
    return platform::Platform::current().files;
}

bool isRendition(const StoredProject& project, const std::string& name) {
    return lowercased(Path(name).pathExtension()) == "xml" &&
           lowercased(project.path.pathExtension()) != "xml";
}

}  // namespace

Store::Store(Path root)
    : root_(std::move(root)),
      list_(files(), platform::Platform::current().clock,
            [this](const Path& folder, const Error& error) {
                unreadable_.insert_or_assign(folder, error);
            }) {}

std::vector<StoredProject> Store::projects() {
    std::vector<StoredProject> projects;
    const auto listing = list_.list(root_);
    if (!listing) {
        unreadable_.insert_or_assign(root_, listing.error());
        return projects;
    }
    for (const ProjectEntry& entry : listing->projects) {
        projects.push_back({entry.projectID, ZBLocalPaths::expandingTilde(entry.path)});
    }
    return projects;
}

Result<std::vector<StoredVersion>> Store::versions(const StoredProject& project) const {
    const Path path = storelayout::projectFolder(root_, project.id) / storelayout::versionsName;
    const auto folder = files().openFolder(path);
    if (!folder && isMissing(folder.error())) return std::vector<StoredVersion>();
    if (!folder) return folder.error();
    std::map<VersionNumber, StoredVersion> copies;
    std::map<VersionNumber, Path> renditions;
    const auto isVisible = [](std::string_view name, platform::EntryKind) {
        return !isHiddenName(name);
    };
    const auto entries = (*folder)->entries(isVisible);
    if (!entries) return entries.error();
    for (const platform::DirectoryEntry& entry : *entries) {
        const VersionNumber number = numberOfVersion(entry.name);
        if (number.value <= 0) continue;
        if (isRendition(project, entry.name)) {
            renditions.insert_or_assign(number, path / entry.name);
            continue;
        }
        // One that went while the folder was read (retention) is no version any more.
        const auto info = (*folder)->info(entry.name);
        if (!info) continue;
        copies.insert_or_assign(number,
                                StoredVersion{number, path / entry.name, info->modificationDate,
                                              info->attributeChangeDate, std::nullopt});
    }
    std::vector<StoredVersion> versions;
    for (auto& [number, version] : copies) {
        const auto rendition = renditions.find(number);
        if (rendition != renditions.end()) version.rendition = rendition->second;
        versions.push_back(std::move(version));
    }
    return versions;
}

std::uint64_t Store::size(const Path& item) {
    std::uint64_t bytes = 0;
    std::vector<Path> folders;
    const auto add = [&](const Path& path) {
        const auto info = files().linkInfo(path);
        if (!info) return;
        if (info->isFolder()) folders.push_back(path);
        if (info->isFile()) bytes += info->size;
    };
    add(item);
    while (!folders.empty()) {
        const Path folder = std::move(folders.back());
        folders.pop_back();
        const auto contents = files().contentsOfFolder(folder);
        if (!contents) continue;
        for (const platform::DirectoryEntry& entry : *contents) add(folder / entry.name);
    }
    return bytes;
}

std::vector<StoredProject> sortedByName(std::vector<StoredProject> projects) {
    std::sort(projects.begin(), projects.end(), [](const StoredProject& a, const StoredProject& b) {
        const std::string nameOfA = a.displayName();
        const std::string nameOfB = b.displayName();
        if (nameOfA != nameOfB) return listingOrder(nameOfA, nameOfB);
        return std::tie(a.path, a.id) < std::tie(b.path, b.id);
    });
    return projects;
}

}  // namespace larkspan
