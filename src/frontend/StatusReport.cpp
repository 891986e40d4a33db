#include "frontend/StatusReport.h"

#include "backup/StoreLayout.h"
#include "frontend/Format.h"
#include "frontend/Settings.h"
#include "kit/Preferences.h"
#include "platform/Platform.h"
#include "platform/Volumes.h"

#include <algorithm>

namespace larkspan {
namespace {

// Versions of large projects need room; below this the disk counts as full.
constexpr std::uint64_t leastFreeSpace = 100'000'000;

platform::Platform& current() {
    return platform::Platform::current();
}

const WatchedFolder* find(const HelperFacts& helper, const Path& folder) {
    const auto& folders = helper.watchedFolders;
    const auto found = std::find_if(folders.begin(), folders.end(), [&](const auto& watched) {
        return withoutSlash(watched.folder) == folder;
    });
    return found == folders.end() ? nullptr : &*found;
}

// The root itself, or where it is not there yet the nearest folder above it that is.
Path nearestExisting(Path path) {
    while (!current().files.exists(path) && path.str().size() > 1) {
        path = path.deletingLastPathComponent();
    }
    return path;
}

StoreStatus storeStatus(const Path& root, bool isChosen) {
    platform::Files& files = current().files;
    StoreStatus status;
    status.root = root;
    status.isChosen = isChosen;
    status.exists = files.isFolder(root);
    status.onUnmountedVolume = current().volumes.isOnUnmountedVolume(root);
    const Path nearest = nearestExisting(root);
    status.writable = files.isFolder(nearest) && files.isWritable(nearest);
    status.space = files.diskSpace(nearest);
    Store store(root);
    for (const StoredProject& project : store.projects()) {
        ++status.projects;
        auto versions = store.versions(project);
        if (!versions) {
            status.unreadableVersions.push_back(project.displayName() + ": " +
                                                versions.error().description);
            continue;
        }
        for (StoredVersion& version : *versions) {
            if (status.last && version.taken <= status.last->version.taken) continue;
            status.last = LastVersion{project, std::move(version)};
        }
    }
    for (const auto& [folder, error] : store.unreadable()) {
        status.unreadable.push_back(folder.str() + ": " + error.description);
    }
    return status;
}

void addHelper(StatusReport& report) {
    Result<Helper> helper = Helper::connect();
    Result<HelperFacts> facts = helper ? helper->facts() : Result<HelperFacts>(helper.error());
    if (facts) {
        report.helper = std::move(*facts);
        return;
    }
    const bool nobody = isNobodyThere(facts.error());
    report.troubles.push_back({nobody ? "No helper is running."
                                      : "The helper does not answer: " + facts.error().description,
                               howToStartHelper()});
}

void addFolders(StatusReport& report, const Preferences& preferences) {
    const HelperFacts* helper = report.helper ? &*report.helper : nullptr;
    for (const WatchFolder& entry : watchEntries(preferences.array(watchFoldersKey))) {
        const bool exists = current().files.isFolder(entry.folder);
        report.folders.push_back(folderStatus(entry, exists, helper));
        if (auto trouble = folderTrouble(report.folders.back())) {
            report.troubles.push_back(std::move(*trouble));
        }
    }
    if (report.folders.empty() && preferences.array("watchDriveFolders").empty()) {
        report.troubles.push_back(
            {"No folder is watched.", "Add one with: larkspan watch add FOLDER"});
    }
    if (!helper) return;
    // Folders of projects that lie in no watch folder. One that is gone needs no watch.
    for (const WatchedFolder& watched : helper->watchedFolders) {
        const bool listed = std::any_of(
            report.folders.begin(), report.folders.end(),
            [&](const auto& folder) { return folder.folder == withoutSlash(watched.folder); });
        if (listed || watched.watched || !current().files.isFolder(watched.folder)) continue;
        report.troubles.push_back({watched.folder.str() +
                                       ", the folder of a project, is not "
                                       "watched: " +
                                       watched.problem,
                                   "Its projects are backed up at the next interval only."});
    }
}

void addStore(StatusReport& report, const Preferences& preferences) {
    const auto root = storelayout::storeRoot(preferences);
    if (!root) {
        report.troubles.push_back({"This user has no folder for the version store.",
                                   "Choose one with: larkspan prefs storagePath FOLDER"});
        return;
    }
    report.store = storeStatus(*root, preferences.object("storagePath") != nullptr);
    for (Trouble& trouble : storeTroubles(*report.store)) {
        report.troubles.push_back(std::move(trouble));
    }
}

}  // namespace

FolderStatus folderStatus(const WatchFolder& entry, bool exists, const HelperFacts* helper) {
    FolderStatus status{entry.folder, entry.extensions, exists, Watched::unknown, "", ""};
    if (!helper) return status;
    if (isWatchedThroughProjects(entry.folder)) {
        status.watched = Watched::throughProjects;
    } else if (const WatchedFolder* watched = find(*helper, entry.folder)) {
        status.watched = watched->watched ? Watched::yes : Watched::no;
        status.problem = watched->problem;
        status.notice = watched->notice;
    } else {
        status.watched = Watched::no;
        status.problem = "the helper does not know it yet";
    }
    return status;
}

std::optional<Trouble> folderTrouble(const FolderStatus& folder) {
    const std::string name = folder.folder.str();
    if (!folder.exists) {
        return Trouble{"The watched folder " + name + " is not there.",
                       "Mount its volume or make the folder; or take it off the list: larkspan "
                       "watch remove " +
                           shellQuoted(name)};
    }
    if (folder.watched == Watched::no || !folder.problem.empty()) {
        const std::string how =
            folder.watched == Watched::no ? " is not watched" : " is not wholly watched";
        return Trouble{name + how + (folder.problem.empty() ? "." : ": " + folder.problem + "."),
                       "Make the helper look again: larkspan watch add " + shellQuoted(name)};
    }
    return std::nullopt;
}

std::vector<Trouble> storeTroubles(const StoreStatus& store) {
    std::vector<Trouble> troubles;
    const std::string name = store.root.str();
    if (store.onUnmountedVolume) {
        troubles.push_back({"The volume of the version store " + name + " is not mounted.",
                            "Mount it; no version is taken until then."});
    } else if (!store.exists && store.isChosen) {
        troubles.push_back({"The version store " + name + " is not there.",
                            "Mount its volume, or choose a place with: larkspan prefs storagePath "
                            "FOLDER"});
    } else if (!store.writable) {
        troubles.push_back({"The version store " + name + " cannot be written.",
                            "Check its permissions, and that its volume is not read-only."});
    }
    if (store.space && store.space->free < leastFreeSpace) {
        troubles.push_back(
            {"The disk of the version store is full: " + sizeText(store.space->free) + " free.",
             "Make room on it; no version is lost, but no new one fits."});
    }
    for (const std::string& settings : store.unreadable) {
        troubles.push_back({"The settings of a project cannot be read: " + settings,
                            "Its versions are safe in that folder; the project is registered anew "
                            "when its folder is watched."});
    }
    for (const std::string& versions : store.unreadableVersions) {
        troubles.push_back({"The versions of a project cannot be read: " + versions,
                            "Check the rights to their folder, and the disk. Meanwhile no version "
                            "of it is taken, and none is removed."});
    }
    return troubles;
}

StatusReport StatusReport::gather() {
    StatusReport report;
    addHelper(report);
    const auto file = Preferences::frontEndFile();
    Result<Preferences> preferences = Preferences::read(file);
    if (preferences) {
        addFolders(report, *preferences);
        addStore(report, *preferences);
    } else {
        report.troubles.push_back({"The preferences file " + file->str() +
                                       " cannot be read: " + preferences.error().description,
                                   unreadablePreferencesAdvice(*file)});
    }
    return report;
}

}  // namespace larkspan
