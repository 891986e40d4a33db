#include "app/WatchConfiguration.h"

#include "discovery/FolderNames.h"
#include "foundation/Text.h"

#include <algorithm>

namespace larkspan {
namespace {

constexpr std::chrono::seconds defaultBackupInterval{630};
constexpr std::chrono::seconds intervalAllowance{30};
constexpr Seconds recentRestore{20.0};

bool isWatchedAsBundle(const Path& project) {
    const std::string extension = lowercased(project.pathExtension());
    return extension == "fcpproject" || extension == "fcpevent";
}

bool contains(const std::vector<Path>& paths, const Path& path) {
    return std::find(paths.begin(), paths.end(), path) != paths.end();
}

}  // namespace

std::vector<WatchFolder> watchFolders(const Preferences& preferences, const char* key) {
    std::vector<WatchFolder> folders;
    for (const Value& entry : preferences.array(key)) {
        if (auto folder = watchFolder(entry)) folders.push_back(std::move(*folder));
    }
    return folders;
}

bool containsParentFolder(const std::vector<Path>& array, const Path& forPath) {
    return std::any_of(array.begin(), array.end(),
                       [&](const Path& folder) { return forPath.hasPrefix(folder.str()); });
}

std::vector<Path> watchPaths(const std::vector<WatchFolder>& folders,
                             const std::vector<Path>& projects) {
    std::vector<Path> paths;
    for (const WatchFolder& entry : folders) {
        if (isWatchedThroughProjects(entry.folder)) continue;
        if (!contains(paths, entry.folder)) paths.push_back(entry.folder);
    }
    for (const Path& project : projects) {
        const Path folder = project.deletingLastPathComponent();
        if (isWatchedAsBundle(project) || containsParentFolder(paths, folder)) continue;
        paths.push_back(folder);
    }
    return paths;
}

std::vector<WatchFolder> discoveryFolders(const std::vector<WatchFolder>& folders,
                                          const std::vector<WatchFolder>& driveFolders,
                                          const std::vector<Path>& volumes,
                                          const std::optional<Path>& path) {
    std::vector<WatchFolder> found;
    const auto covers = [&](const Path& folder) { return !path || path->hasPrefix(folder.str()); };
    for (const WatchFolder& entry : folders) {
        if (covers(entry.folder)) found.push_back(entry);
    }
    for (const Path& volume : volumes) {
        for (const WatchFolder& entry : driveFolders) {
            if (entry.folder.empty() || !covers(entry.folder)) continue;
            found.push_back({volume / entry.folder.str(), entry.extensions});
        }
    }
    return found;
}

std::vector<ScannedFolder> wholeFolders(const std::vector<WatchFolder>& folders) {
    std::vector<ScannedFolder> whole;
    for (const WatchFolder& entry : folders) {
        whole.push_back({entry.folder, typeList(entry.extensions), WithSubfolders::yes});
    }
    return whole;
}

std::vector<ScannedFolder> changedFoldersWithin(const std::vector<WatchFolder>& folders,
                                                const std::vector<ChangedFolder>& changed) {
    std::vector<ScannedFolder> found;
    for (const ScannedFolder& watched : wholeFolders(folders)) {
        if (watched.folder.empty()) continue;
        for (const ChangedFolder& change : changed) {
            const auto subfolders =
                change.withSubfolders ? WithSubfolders::yes : WithSubfolders::no;
            if (isReached(change.path, watched.folder)) {
                found.push_back({change.path, watched.types, subfolders});
            } else if (change.withSubfolders && watched.folder.isWithin(change.path)) {
                found.push_back(watched);
            }
        }
    }
    return found;
}

std::chrono::seconds backupInterval(const Preferences& preferences) {
    const Value* enabled = preferences.object("backupMinIntervalEnabled");
    if (enabled && enabled->equalsNumber(0)) return defaultBackupInterval;
    const long minutes = preferences.integer("backupMinInterval", 0);
    // A year is longer than any interval in use, and keeps the sum in range.
    constexpr long longest = 60L * 24 * 366;
    if (minutes <= 0) return defaultBackupInterval;
    return std::chrono::minutes(std::min(minutes, longest)) + intervalAllowance;
}

bool isFromRestore(const Path& folder, const Preferences& preferences, Date now) {
    const auto restored = preferences.string("lastRestoredProject");
    if (!restored || !restored->starts_with(folder.str())) return false;
    const Value* date = preferences.object("lastRestoreDate");
    if (!date || !date->date()) return true;
    return secondsBetween(*date->date(), now) < recentRestore;
}

}  // namespace larkspan
