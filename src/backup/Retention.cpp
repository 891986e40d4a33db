#include "backup/Retention.h"

#include "backup/StoreLayout.h"
#include "backup/VersionName.h"
#include "backup/VersionRemoval.h"
#include "kit/Preferences.h"
#include "kit/ZBFileManager.h"
#include "kit/ZBLog.h"
#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <algorithm>

namespace larkspan {
namespace {

platform::Platform& current() {
    return platform::Platform::current();
}

std::vector<StoredFile> storedFiles(platform::Folder& versions,
                                    const std::vector<platform::DirectoryEntry>& entries) {
    std::vector<StoredFile> files;
    files.reserve(entries.size());
    for (const auto& entry : entries) {
        if (isHiddenName(entry.name)) continue;
        const auto info = versions.info(entry.name);
        files.push_back({entry.name, info ? std::optional(info->modificationDate) : std::nullopt});
    }
    return files;
}

// The policy has an order of its own.
std::vector<platform::DirectoryEntry> unsortedEntries(platform::Folder& versions) {
    return versions.entries({}, platform::Sorted::no).optional().value_or(std::vector<platform::DirectoryEntry>());
}

RetentionPlan planOf(platform::Folder& versions,
                     const std::vector<platform::DirectoryEntry>& entries,
                     const RetentionRules& rules) {
    return retentionPlan(storedFiles(versions, entries), rules, current().clock.now());
}

// The last version and the one before it, as the store counts them; fewer when there are not two.
std::vector<std::string> lastTwo(const Path& versionFolder) {
    std::vector<std::string> names;
    const auto folder = current().files.openFolder(versionFolder);
    if (!folder) return names;
    auto entries = (*folder)->entries();
    if (!entries) return names;
    for (auto& entry : *entries) {
        if (!isHiddenName(entry.name)) names.push_back(std::move(entry.name));
    }
    std::ranges::stable_sort(names, {}, [](const auto& name) { return numberOfVersion(name); });
    const size_t surplus = names.size() > 2 ? names.size() - 2 : 0;
    names.erase(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(surplus));
    return names;
}

void removeDuplicate(const Path& file) {
    constexpr std::chrono::seconds timeout{10};
    ZBLog::appendLog("Removing duplicate file %@...", file);
    (void)ZBFileManager::removeFile(file, timeout);
}

}  // namespace

void Retention::manageBackups() {
    const Preferences preferences = Preferences::frontEnd();
    const RetentionRules rules = retentionRules(preferences);
    if (!rules.isOn) return;
    ZBLog::appendLog("Starting backup management");
    warnOfPeriodCount(preferences.integer("oldBackupCount", rules.keptPerPeriod));
    const auto root = storelayout::storeRoot(preferences);
    std::vector<Path> removed;
    bool isComplete = true;
    const bool isThere = visitVersionFolders(root, [&](const Path& versions, auto folder) {
        isComplete = manageProject(versions, std::move(folder), rules, removed);
        return isComplete;
    });
    if (!isThere) {
        ZBLog::appendLog("No old versions are removed: there is no version store at %@",
                         root.value_or(Path()));
    }
    if (isComplete && !removed.empty() && rules.removesSynced) removeSyncedFiles_(removed);
}

bool Retention::visitVersionFolders(const std::optional<Path>& root, const VisitFolder& visit) {
    const auto store = root && ZBFileManager::isVolumeMountedForPath(*root)
                           ? current().files.openFolder(*root).optional().value_or(nullptr)
                           : nullptr;
    if (!store) return false;
    const auto entries = store->entries();
    if (!entries) return false;
    for (const platform::DirectoryEntry& entry : *entries) {
        if (entry.kind == platform::EntryKind::file) continue;
        auto folder = store->openFolder(entry.name + "/" + storelayout::versionsName);
        if (!folder) continue;
        if (!visit(*root / entry.name / storelayout::versionsName, std::move(*folder))) break;
    }
    return true;
}

bool Retention::manageProject(const Path& versionFolder, std::unique_ptr<platform::Folder> folder,
                              const RetentionRules& rules, std::vector<Path>& removed) {
    const auto entries = unsortedEntries(*folder);
    const RetentionPlan plan = planOf(*folder, entries, rules);
    if (plan.removals.empty()) return true;
    ProjectFolderListing listing({versionFolder, std::move(folder), entries});
    for (const size_t index : plan.removals) {
        const std::string& name = plan.verdicts[index].name;
        versionremoval::removeBackup(listing, name, rules.removal);
        removed.push_back(versionFolder / name);
    }
    return !plan.endsRun;
}

// Said once for each life of the engine: the rule works as if it were 1.
void Retention::warnOfPeriodCount(long stored) {
    if (stored >= 1 || warned_) return;
    warned_ = true;
    ZBLog::appendLog("oldBackupCount is %li; one version is kept per period", stored);
}

RetentionPlan Retention::plan(const Path& versionFolder, const RetentionRules& rules) {
    const auto folder = current().files.openFolder(versionFolder);
    if (!folder) return {};
    return planOf(**folder, unsortedEntries(**folder), rules);
}

std::optional<std::vector<ProjectPlan>> Retention::plans(const Path& root,
                                                         const RetentionRules& rules) {
    std::vector<ProjectPlan> plans;
    const bool isThere = visitVersionFolders(root, [&](const Path& versions, auto folder) {
        plans.push_back({versions, planOf(*folder, unsortedEntries(*folder), rules)});
        return !plans.back().plan.endsRun;
    });
    if (!isThere) return std::nullopt;
    return plans;
}

void Retention::removeBackup(const Path& version, RemovalType removeType,
                             RemoveSynced removeSynced) const {
    ProjectFolderListing listing(ListedFolder(version.deletingLastPathComponent()));
    if (!listing.versions.entries.contains(version.lastPathComponent())) return;
    versionremoval::removeBackup(listing, version.lastPathComponent(), removeType);
    if (removeSynced == RemoveSynced::no) return;
    if (retentionRules(Preferences::frontEnd()).removesSynced) removeSyncedFiles_({version});
}

bool Retention::removeLastDuplicateForProject(const Path& versionFolder) {
    const std::vector<std::string> names = lastTwo(versionFolder);
    if (names.size() < 2) return false;
    const Path last = versionFolder / names[1];
    platform::Files& files = current().files;
    if (!files.contentsEqual(last, versionFolder / names[0])) return false;
    removeDuplicate(last);
    const Path base = last.deletingPathExtension();
    if (const Path rendition = base.appendingPathExtension("xml"); files.exists(rendition)) {
        removeDuplicate(rendition);
    }
    // Looked for below the version folder, not where pictures are kept, so that it stays as a rule.
    // Deliberate: the picture is of a moment in which the user did save.
    const Path picture = versionFolder / messageText("/Screenshots/%@.jpg", base);
    if (files.exists(picture)) removeDuplicate(picture);
    return true;
}

bool Retention::removeEmptyFolder(const Path& folder) {
    const auto entries = current().files.contentsOfFolder(folder);
    if (!entries || entries->size() > 1) return false;
    if (!entries->empty() && !isHiddenName(entries->front().name)) return false;
    return !current().files.removeItem(folder);
}

}  // namespace larkspan
