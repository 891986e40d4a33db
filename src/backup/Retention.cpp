#include "backup/Retention.h"

#include "backup/StoreLayout.h"
#include "backup/VersionName.h"
#include "backup/VersionRemoval.h"
#include "kit/Preferences.h"
#include "kit/Problems.h"
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

// A version folder and what it holds.
struct OpenVersions {
    std::unique_ptr<platform::Folder> folder;  // null when it is missing
    std::vector<platform::DirectoryEntry> entries;
};

Result<OpenVersions> openVersions(platform::Folder& store, const std::string& folderName) {
    auto folder = store.openFolder(folderName + "/" + storelayout::versionsName);
    if (!folder && isMissing(folder.error())) return OpenVersions{};
    if (!folder) return folder.error();
    // The policy has an order of its own.
    auto entries = (*folder)->entries({}, platform::Sorted::no);
    if (!entries) return entries.error();
    return OpenVersions{std::move(*folder), std::move(*entries)};
}

RetentionPlan planOf(const OpenVersions& versions, const RetentionRules& rules) {
    return retentionPlan(storedFiles(*versions.folder, versions.entries), rules,
                         current().clock.now());
}

// The last version and the one before it, as the store counts them; fewer when there are not two.
std::vector<std::string> lastTwo(const Path& versionFolder) {
    std::vector<std::string> names;
    auto entries = current().files.contentsOfFolder(versionFolder);
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
    const auto root = storelayout::storeRoot(Preferences::frontEnd());
    if (!root) return;
    const auto listing = list_.list(*root);
    if (!listing) {
        logProblem("Unable to read the version store %@: %@", *root, listing.error().description);
        return;
    }
    std::vector<std::string> projects;
    for (const ProjectEntry& entry : listing->projects) {
        projects.push_back(storelayout::projectFolderName(entry.projectID));
    }
    manageBackups(*listing, projects);
}

void Retention::manageBackups(const ProjectListing& listing,
                              const std::vector<std::string>& projects) {
    const auto preferences = Preferences::read(Preferences::frontEndFile());
    if (!preferences) return;  // docs/behaviour.md, own 29
    const RetentionRules rules = retentionRules(*preferences);
    if (!rules.isOn) return;
    ZBLog::appendLog("Starting backup management");
    warnOfPeriodCount(preferences->integer("oldBackupCount", rules.keptPerPeriod));
    if (!listing.store || !ZBFileManager::isVolumeMountedForPath(listing.root)) {
        ZBLog::appendLog("No old versions are removed: there is no version store at %@",
                         listing.root);
        return;
    }
    std::vector<Path> removed;
    for (const std::string& folderName : projects) {
        if (!manageProject(listing, folderName, rules, removed)) break;
    }
    // docs/behaviour.md, own 24
    if (!removed.empty() && rules.removesSynced) syncedFiles_.remove(removed);
}

bool Retention::manageProject(const ProjectListing& listing, const std::string& folderName,
                              const RetentionRules& rules, std::vector<Path>& removed) {
    if (list_.hasNothingToRemove(*listing.store, folderName, rules)) return true;
    const auto count = list_.versionCount(folderName);
    if (count && rules.minimum && *rules.minimum >= *count) {
        list_.noteNothingToRemove(folderName, rules, Date::max());
        return true;
    }
    const Path path = listing.root / folderName / storelayout::versionsName;
    auto versions = openVersions(*listing.store, folderName);
    if (!versions) {
        logProblem("Unable to read the versions in %@: %@", path, versions.error().description);
        return true;
    }
    if (!versions->folder) return true;
    const RetentionPlan plan = planOf(*versions, rules);
    if (plan.removals.empty()) {
        list_.noteNothingToRemove(folderName, rules, plan.quietUntil);
        return !plan.endsRun;
    }
    std::vector<Path> removals;
    for (const size_t index : plan.removals) removals.push_back(path / plan.verdicts[index].name);
    if (rules.removesSynced) syncedFiles_.noteRemovals(removals);
    ProjectFolderListing folders({path, std::move(versions->folder), versions->entries});
    for (const Path& version : removals) {
        versionremoval::removeBackup(folders, version.lastPathComponent(), rules.removal);
    }
    removed.insert(removed.end(), removals.begin(), removals.end());
    list_.forgetVersions(folderName);
    return !plan.endsRun;
}

// Said once for each life of the engine: the rule works as if it were 1.
void Retention::warnOfPeriodCount(long stored) {
    if (stored >= 1 || warned_) return;
    warned_ = true;
    ZBLog::appendLog("oldBackupCount is %li; one version is kept per period", stored);
}

RetentionPlan Retention::plan(const Path& versionFolder, const RetentionRules& rules) {
    const Path project = versionFolder.deletingLastPathComponent();
    const auto store = current().files.openFolder(project.deletingLastPathComponent());
    if (!store) return {};
    const auto versions = openVersions(**store, project.lastPathComponent());
    return versions && versions->folder ? planOf(*versions, rules) : RetentionPlan();
}

std::optional<std::vector<ProjectPlan>> Retention::plans(const Path& root,
                                                         const RetentionRules& rules) {
    const auto listing = ProjectList(current().files, current().clock).list(root);
    if (!listing || !listing->store) return std::nullopt;
    std::vector<ProjectPlan> plans;
    for (const ProjectEntry& entry : listing->projects) {
        const std::string folderName = storelayout::projectFolderName(entry.projectID);
        const auto versions = openVersions(*listing->store, folderName);
        if (!versions || !versions->folder) continue;
        plans.push_back({root / folderName / storelayout::versionsName, planOf(*versions, rules)});
        if (plans.back().plan.endsRun) break;
    }
    return plans;
}

void Retention::removeBackup(const Path& version, RemovalType removeType,
                             RemoveSynced removeSynced) const {
    ProjectFolderListing listing(ListedFolder(version.deletingLastPathComponent()));
    if (!listing.versions.entries.contains(version.lastPathComponent())) return;
    const bool isRemovedThere =
        removeSynced == RemoveSynced::yes && retentionRules(Preferences::frontEnd()).removesSynced;
    if (isRemovedThere) syncedFiles_.noteRemovals({version});
    versionremoval::removeBackup(listing, version.lastPathComponent(), removeType);
    const Path project = version.deletingLastPathComponent().deletingLastPathComponent();
    list_.forgetVersions(project.lastPathComponent());
    if (isRemovedThere) syncedFiles_.remove({version});
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
    // Where pictures are kept they are named by other numbers; whoever took one removes it
    // (docs/behaviour.md, own 3).
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
