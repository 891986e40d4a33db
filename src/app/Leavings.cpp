#include "app/Leavings.h"

#include "backup/StoreLayout.h"
#include "kit/Preferences.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <algorithm>
#include <optional>

namespace larkspan {
namespace {

platform::Files& files() {
    return platform::Platform::current().files;
}

// In a folder and those below it, that many levels deep. The number of items that went.
int removeIn(const Path& folder, int levelsBelow) {
    int removed = files().removeAbandonedCopies(folder);
    if (levelsBelow == 0) return removed;
    const auto entries = files().contentsOfFolder(folder);
    if (!entries) return removed;
    for (const auto& entry : *entries) {
        if (entry.kind != platform::EntryKind::folder) continue;
        removed += removeIn(folder / entry.name, levelsBelow - 1);
    }
    return removed;
}

// The folders of projects whose settings were not written yet when they were being registered.
int removeUnfinishedProjects(const Path& store) {
    const auto entries = files().contentsOfFolder(store);
    if (!entries) return 0;
    return static_cast<int>(std::ranges::count_if(*entries, [&](const auto& entry) {
        const bool isFolder = entry.kind == platform::EntryKind::folder;
        return isFolder && !files().removeEmptyFolder(store / entry.name);
    }));
}

}  // namespace

void removeLeavings() {
    constexpr int belowProjects = 2;  // the projects' folders, and the folders of their versions
    constexpr int belowOurs = 1;
    int removed = 0;
    const auto remove = [&](const std::optional<Path>& folder, int levelsBelow) {
        if (folder) removed += removeIn(*folder, levelsBelow);
    };
    remove(ZBLocalPaths::prefsDirectory(UserDomain::yes), 0);
    remove(storelayout::cacheFolder(), 0);
    if (const auto support = ZBLocalPaths::appSupportDirectory(UserDomain::yes)) {
        remove(*support / "Corvane/Larkspan", belowOurs);
    }
    if (const auto store = storelayout::storeRoot(Preferences::frontEnd())) {
        removed += removeIn(*store, belowProjects) + removeUnfinishedProjects(*store);
    }
    if (removed > 0) ZBLog::appendLog("Removed %i items that interrupted work left.", removed);
}

}  // namespace larkspan
