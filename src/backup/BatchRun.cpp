#include "backup/BatchRun.h"

#include "backup/BackupRules.h"
#include "backup/StoreLayout.h"
#include "backup/UnchangedSave.h"
#include "foundation/Text.h"
#include "kit/Identifiers.h"
#include "kit/Preferences.h"
#include "kit/Problems.h"
#include "kit/ZBFileManager.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/Connections.h"
#include "platform/Platform.h"

#include <algorithm>
#include <set>

namespace larkspan {
namespace {

using Verdict = UnrestedProjects::Verdict;

platform::Platform& current() {
    return platform::Platform::current();
}

void postFilesBackedUp() {
    current().connections.postDistributedNotification(filesBackedUpNotification);
}

WriteState writeState(const platform::FileInfo& file) {
    return {file.modificationDate, file.size};
}

}  // namespace

struct BatchRun::Run {
    const ProjectListing& listing;
    bool skipsUnchanged;
    AlertThrottle throttle;
    long attempts = 0;  // at versions of any kind
    long backedUp = 0;  // projects that have versions already
    long unchanged = 0;
    std::vector<Path> processed;
    std::set<std::string> processedNames;
    std::set<std::string> unreadable = {};    // names of the folders of projects
    std::vector<std::string> versioned = {};  // names of the folders of projects with new versions
};

struct BatchRun::Candidate {
    const ProjectEntry& entry;
    Path project;
    platform::FileInfo file;
    const Path& root;  // of the store
    std::string folderName;
    std::optional<NewestVersion> newest;

    Path folder() const { return root / folderName; }
    Path versions() const { return folder() / storelayout::versionsName; }
    Newness newness() const {
        if (!newest) return Newness::newer;
        const Newness byDate = larkspan::newness(file.modificationDate, newest->modificationDate);
        return byDate == Newness::same && hasOtherSize() ? Newness::newer : byDate;
    }
    // Than the newest version, if that is a copy and no rendition. docs/behaviour.md, own 30
    bool hasOtherSize() const {
        return file.isFile() && newest->size != file.size &&
               caseInsensitiveCompare(Path(newest->name).pathExtension(),
                                      project.pathExtension()) == 0;
    }
};

void BatchRun::processProjects(const ProjectListing& listing, const ProjectFilter& wanted) {
    if (listing.projects.empty()) {
        ZBLog::appendLog("No projects found");
        return;
    }
    Run run{.listing = listing,
            .skipsUnchanged = skipsUnchangedSaves(Preferences::frontEnd()),
            .throttle = AlertThrottle(state_.lastAlertShown.copy(), current().clock.now()),
            .processed = {},
            .processedNames = {}};
    for (const ProjectEntry& entry : listing.projects) {
        Path project = ZBLocalPaths::expandingTilde(entry.path);
        if (!wanted || wanted(project)) processProject(run, entry, std::move(project));
    }
    if (!wanted) {
        ZBLog::appendLog("Unchanged projects: %li", run.unchanged);
        run.versioned.clear();
        for (const ProjectEntry& entry : listing.projects) {
            std::string name = storelayout::projectFolderName(entry.projectID);
            if (!run.unreadable.contains(name)) run.versioned.push_back(std::move(name));
        }
    }
    actions_.manageBackups(listing, run.versioned);
    refreshCaches(run.processed);
    if (run.backedUp != 0) postFilesBackedUp();
}

void BatchRun::processProject(Run& run, const ProjectEntry& entry, Path project) {
    const auto file = current().files.info(project);
    if (!file) {
        state_.unrested.with([&](auto& unrested) { unrested.settled(project); });
        if (isMissing(file.error())) return;
        logProblem("Unable to look at project %@: %@", project, file.error().description);
        return;
    }
    std::string folderName = storelayout::projectFolderName(entry.projectID);
    if (run.processedNames.contains(folderName)) return;
    auto newest = list_.newestVersion(*run.listing.store, folderName);
    if (!newest) {
        // docs/behaviour.md, own 5
        logProblem("Unable to read the versions of project %@: %@", project,
                   newest.error().description);
        run.unreadable.insert(std::move(folderName));
        return;
    }
    considerVersion(run, {.entry = entry,
                          .project = std::move(project),
                          .file = *file,
                          .root = run.listing.root,
                          .folderName = std::move(folderName),
                          .newest = std::move(*newest)});
}

void BatchRun::considerVersion(Run& run, const Candidate& candidate) {
    if (!mayNeedVersion(run, candidate)) {
        ++run.unchanged;
        state_.unrested.with([&](auto& unrested) { unrested.settled(candidate.project); });
        return;
    }
    if (candidate.newest) ZBLog::appendLog("last version: %@", candidate.newest->name);
    const Verdict verdict = lookWhetherAtRest(candidate);
    if (verdict == Verdict::setAside) return;
    if (candidate.newness() == Newness::older &&
        unchangedsave::isInStore(candidate.project, candidate.file, candidate.versions())) {
        list_.noteSettled(candidate.folderName, candidate.file);
        state_.unrested.with([&](auto& unrested) { unrested.settled(candidate.project); });
        return;
    }
    takeVersion(run, candidate, verdict);
}

// By the dates, and by what an earlier run found out.
bool BatchRun::mayNeedVersion(const Run& run, const Candidate& candidate) {
    const Newness newness = candidate.newness();
    if (newness == Newness::same) return false;
    if (newness == Newness::older && !run.skipsUnchanged) return false;
    return !candidate.newest || !run.skipsUnchanged ||
           !list_.isSettled(candidate.folderName, candidate.file);
}

UnrestedProjects::Verdict BatchRun::lookWhetherAtRest(const Candidate& candidate) {
    const platform::Clock& clock = current().clock;
    const auto decision = state_.unrested.with([&](auto& unrested) {
        return unrested.look(candidate.project, writeState(candidate.file), clock.now(),
                             clock.uptime());
    });
    if (!decision.isFirst) return decision.verdict;
    switch (decision.verdict) {
        case Verdict::atRest:
            ZBLog::appendLog("File %@ finished writing.", candidate.project);
            break;
        case Verdict::setAside:
            ZBLog::appendLog("File %@ is currently being written to. Waiting...",
                             candidate.project);
            break;
        case Verdict::worthATry:
            logProblem("File %@ keeps being written to. It is backed up once a minute at most.",
                       candidate.project);
            break;
    }
    return decision.verdict;
}

void BatchRun::takeVersion(Run& run, const Candidate& candidate, Verdict verdict) {
    BackupOptions options{.uuid = candidate.entry.selectedUUID};
    VersionNumber number{1};
    options.partOfBatch = run.throttle.isPartOfBatch(run.attempts + 1);
    if (candidate.newest) {
        number = numberOfVersion(candidate.newest->name).next();
        const bool compares = run.skipsUnchanged && candidate.newness() == Newness::newer;
        if (compares) options.unlessEqualTo = candidate.newest->name;
    }
    const BackupOutcome outcome =
        actions_.backupProject(candidate.project, candidate.versions(), number, options);
    noteOutcome(candidate, verdict, outcome);
    if (outcome != BackupOutcome::taken && outcome != BackupOutcome::failed) return;
    ++run.attempts;
    if (outcome == BackupOutcome::failed) return;
    run.versioned.push_back(candidate.folderName);
    if (!candidate.newest) return;
    ++run.backedUp;
    run.processed.push_back(candidate.folder());
    run.processedNames.insert(candidate.folderName);
    if (isNotificationDue(run.backedUp)) postFilesBackedUp();
}

void BatchRun::noteOutcome(const Candidate& candidate, Verdict verdict, BackupOutcome outcome) {
    const bool wasChanged = outcome == BackupOutcome::stillBeingWritten;
    state_.unrested.with([&](auto& unrested) {
        if (wasChanged) {
            unrested.changedWhileCopied(candidate.project, writeState(candidate.file),
                                        current().clock.uptime());
        } else if (verdict == Verdict::atRest) {
            unrested.settled(candidate.project);
        }
    });
    // Where the dates of files and folders are coarse, they do not tell of it.
    list_.forgetVersions(candidate.folderName);
    if (outcome == BackupOutcome::unchanged) {
        list_.noteSettled(candidate.folderName, candidate.file);
    }
}

void BatchRun::refreshCaches(const std::vector<Path>& projectFolders) const {
    const auto caches = storelayout::cacheFolder();
    if (!caches) return;
    if (!current().files.exists(*caches) &&
        !ZBFileManager::createDirectory(*caches, std::chrono::seconds(15))) {
        ZBLog::appendLog("Unable to create cache folder %@", *caches);
    }
    const std::string format = current().bundles.mainBundle().infoString("ZBCacheVersion");
    if (format.empty()) return;
    for (const Path& folder : projectFolders) {
        if (!current().files.exists(folder)) continue;
        auto cache = actions_.cacheForProject(folder);
        if (!cache) continue;
        cache->insert_or_assign("version", format);
        // A cache that cannot be written is made again at the next run.
        (void)savePropertyList(Value(std::move(*cache)), storelayout::cacheFile(*caches, folder));
    }
}

}  // namespace larkspan
