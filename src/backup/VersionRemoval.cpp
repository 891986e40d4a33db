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

using Entries = ProjectFolderListing::Entries;

constexpr std::chrono::seconds removalTimeout{10};

Entries entriesIn(const Path& path) {
    Entries entries;
    if (const auto folder = platform::Platform::current().files.openFolder(path)) {
        for (auto& entry : folder->entries()) entries.emplace(std::move(entry.name), entry.kind);
    }
    return entries;
}

bool removeItem(const Path& item, RemovalType type) {
    return type == RemovalType::remove ? ZBFileManager::removeFile(item, removalTimeout)
                                       : ZBFileManager::trashFile(item, removalTimeout);
}

void removeListed(const Path& folder, Entries& entries, const std::string& name, RemovalType type) {
    if (removeItem(folder / name, type)) entries.erase(name);
}

void removeCompanion(const Path& folder, Entries& entries, const std::string& name,
                     RemovalType type) {
    if (!entries.contains(name)) return;
    const Path path = folder / name;
    if (type == RemovalType::remove) {
        ZBLog::appendLog("Deleting %@...", path);
    } else {
        ZBLog::appendLog("Sending %@ to trash...", path);
    }
    removeListed(folder, entries, name, type);
}

// The cache is looked for under the name of the folder that holds the version, "Versions", where no
// cache lies as a rule. Deliberate: the entry of a version that is gone does no harm, and is made
// again with the whole cache.
void removeFromCache(const Path& versionFolder, const std::string& name) {
    const auto caches = storelayout::cacheFolder();
    if (!caches) return;
    const Path file = storelayout::cacheFile(*caches, versionFolder);
    if (!platform::Platform::current().files.exists(file)) return;
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

bool mayCountAsEmpty(const Entries& entries) {
    return std::ranges::all_of(entries, [](const auto& entry) {
        const auto& [name, kind] = entry;
        return kind == platform::EntryKind::folder || ZBFileManager::isFolderDecoration(name);
    });
}

}  // namespace

ProjectFolderListing ProjectFolderListing::of(const Path& versionFolder) {
    const Path project = versionFolder.deletingLastPathComponent();
    return {versionFolder, entriesIn(versionFolder),
            entriesIn(project / storelayout::screenshotsName)};
}

void versionremoval::removeBackup(ProjectFolderListing& folder, const std::string& name,
                                  RemovalType removeType) {
    if (!folder.versions.contains(name)) return;
    const Path path = folder.versionFolder / name;
    ZBLog::appendLog("Removing backup %@...", path);
    removeFromCache(folder.versionFolder, name);
    if (removeType == RemovalType::remove) {
        ZBLog::appendLog("Deleting file %@...", path);
    } else {
        ZBLog::appendLog("Sending %@ to trash...", path);
    }
    removeListed(folder.versionFolder, folder.versions, name, removeType);
    removeCompanion(folder.versionFolder, folder.versions, companionName(name), removeType);
    const Path project = folder.versionFolder.deletingLastPathComponent();
    const std::string picture = Path(name).deletingPathExtension().str() + ".jpg";
    removeCompanion(project / storelayout::screenshotsName, folder.screenshots, picture,
                    removeType);
    if (mayCountAsEmpty(folder.versions)) {
        (void)ZBFileManager::removeFolderIfEmpty(folder.versionFolder);
    }
}

}  // namespace larkspan
