#include "backup/VersionRemoval.h"

#include "backup/CacheEntries.h"
#include "backup/RetentionPolicy.h"
#include "backup/StoreLayout.h"
#include "foundation/Text.h"
#include "kit/Preferences.h"
#include "kit/ZBFileManager.h"
#include "kit/ZBLog.h"
#include "platform/Platform.h"

#include <algorithm>

namespace larkspan {
namespace {

constexpr std::chrono::seconds removalTimeout{10};

platform::Files& files() {
    return platform::Platform::current().files;
}

std::vector<platform::DirectoryEntry> entriesOf(platform::Folder* folder) {
    if (!folder) return {};
    return folder->entries({}, platform::Sorted::no)
        .optional()
        .value_or(std::vector<platform::DirectoryEntry>());
}

void removeListed(ListedFolder& from, const std::string& name, const Path& path, RemovalType type) {
    const bool isGone = type == RemovalType::remove
                            ? ZBFileManager::removeFile(path, *from.folder, removalTimeout)
                            : ZBFileManager::trashFile(path, removalTimeout);
    if (isGone) from.entries.erase(name);
}

void removeCompanion(ListedFolder& from, const std::string& name, RemovalType type) {
    if (!from.entries.contains(name)) return;
    const Path path = from.path / name;
    if (type == RemovalType::remove) {
        ZBLog::appendLog("Deleting %@...", path);
    } else {
        ZBLog::appendLog("Sending %@ to trash...", path);
    }
    removeListed(from, name, path, type);
}

// docs/behaviour.md, fixed 11
std::optional<Path> cacheOf(const Path& versionFolder) {
    const auto caches = storelayout::cacheFolder();
    if (!caches) return std::nullopt;
    Path file = storelayout::cacheFile(*caches, versionFolder);
    return files().exists(file) ? std::optional(std::move(file)) : std::nullopt;
}

void removeFromCache(const Path& file, const std::string& name) {
    const Result<Value> cache = loadPropertyList(file);
    if (!cache) return;
    auto changed = cacheWithout(*cache->dictionary(), name);
    if (changed) (void)savePropertyList(Value(std::move(*changed)), file);
}

// "Cut.00007.fcp" of "Cut.00007.xml" and the other way round; "" for other versions.
std::string companionName(const std::string& name) {
    if (isRenditionName(name)) return copyNameOfRendition(name);
    const Path path(name);
    if (lowercased(path.pathExtension()) != "fcp") return {};
    return path.deletingPathExtension().appendingPathExtension("xml").str();
}

}  // namespace

ListedFolder::ListedFolder(Path where, std::unique_ptr<platform::Folder> opened,
                           const std::vector<platform::DirectoryEntry>& listed)
    : path(std::move(where)), folder(std::move(opened)) {
    for (const auto& [name, kind] : listed) entries.emplace(name, kind);
}

ListedFolder::ListedFolder(const Path& where)
    : path(where), folder(files().openFolder(where).optional().value_or(nullptr)) {
    for (auto& [name, kind] : entriesOf(folder.get())) entries.emplace(std::move(name), kind);
}

ProjectFolderListing::ProjectFolderListing(ListedFolder versionFolder)
    : versions(std::move(versionFolder)),
      screenshots(versions.path.deletingLastPathComponent() / storelayout::screenshotsName),
      cache(cacheOf(versions.path)) {}

void versionremoval::removeBackup(ProjectFolderListing& listing, const std::string& name,
                                  RemovalType removeType) {
    if (!listing.versions.entries.contains(name)) return;
    const Path path = listing.versions.path / name;
    ZBLog::appendLog("Removing backup %@...", path);
    if (listing.cache) removeFromCache(*listing.cache, name);
    if (removeType == RemovalType::remove) {
        ZBLog::appendLog("Deleting file %@...", path);
    } else {
        ZBLog::appendLog("Sending %@ to trash...", path);
    }
    removeListed(listing.versions, name, path, removeType);
    removeCompanion(listing.versions, companionName(name), removeType);
    removeCompanion(listing.screenshots, Path(name).deletingPathExtension().str() + ".jpg",
                    removeType);
    // docs/behaviour.md, own 6
    if (listing.versions.entries.empty()) {
        (void)files().removeEmptyFolder(listing.versions.path);
    }
}

}  // namespace larkspan
