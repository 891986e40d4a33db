#include "app/WatchConfiguration.h"

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

std::vector<std::string> typeList(const std::string& extensions) {
    std::vector<std::string> types;
    for (const std::string& piece : split(extensions, ',')) {
        types.push_back(lowercased(trimmed(piece)));
    }
    return types;
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
