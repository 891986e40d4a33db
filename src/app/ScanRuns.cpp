#include "app/ScanRuns.h"

#include "app/ProjectDiscovery.h"
#include "kit/Identifiers.h"
#include "kit/Problems.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "platform/Clock.h"
#include "platform/Connections.h"
#include "platform/Platform.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace larkspan {
namespace {

constexpr Seconds soonestLook{0.01};
// While the store cannot be read there is no hurry.
constexpr Seconds lookAfterFailure{30.0};

platform::Platform& current() {
    return platform::Platform::current();
}

void addAll(ChangedFolders& to, const ChangedFolders& from) {
    for (const ChangedFolder& folder : from.folders()) to.add(folder);
}

std::unordered_set<Path> knownPaths(const ProjectListing& listing) {
    std::unordered_set<Path> known(listing.unreadable.begin(), listing.unreadable.end());
    for (const ProjectEntry& project : listing.projects) {
        known.insert(ZBLocalPaths::expandingTilde(project.path));
    }
    return known;
}

}  // namespace

template <class Change>
void ScanRuns::request(Change change) {
    const bool wasQueued = requests_.with([&](Requests& requests) {
        change(requests);
        return std::exchange(requests.isQueued, true);
    });
    if (!wasQueued) queue_.addOperation([this] { run(); });
}

void ScanRuns::scanEverything() {
    request([](Requests& requests) { requests.everything = true; });
}

void ScanRuns::scanChanges(const ChangedFolders& changed, const ChangedFolders& onlyLookedThrough) {
    request([&](Requests& requests) {
        if (changed.empty() && onlyLookedThrough.empty()) requests.everyWatchFolder = true;
        addAll(requests.changed, changed);
        addAll(requests.onlyLookedThrough, onlyLookedThrough);
    });
}

void ScanRuns::lookForProjects(const Path& path) {
    request([&](Requests& requests) { requests.paths.push_back(path); });
}

void ScanRuns::run() {
    const Requests requests =
        requests_.with([](Requests& waiting) { return std::exchange(waiting, Requests()); });
    if (requests.everything) engine_.resumeRemovals();  // docs/behaviour.md, own 24
    const auto listing =
        engine_.listProjects(requests.everything ? Look::atEverySetting : Look::atTheStoreFolder);
    if (listing) {
        backUp(requests, *listing);
        if (requests.everything) noteNames(*listing);
        const std::vector<Path> registered = discover(requests, *listing);
        linkedNames_.note(registered);
        backUpFirstStates(registered);
    } else {
        logProblem("Unable to read the version store: %@", listing.error().description);
    }
    const Seconds soonest = listing ? soonestLook : lookAfterFailure;
    current().mainThread.post([self = std::weak_ptr(self_), soonest] {
        if (const auto runs = self.lock()) (*runs)->planLookAtUnrested(soonest);
    });
}

void ScanRuns::noteNames(const ProjectListing& listing) {
    const std::unordered_set<Path> paths = knownPaths(listing);
    linkedNames_.forget();
    linkedNames_.note({paths.begin(), paths.end()});
}

void ScanRuns::backUp(const Requests& requests, const ProjectListing& listing) {
    if (requests.everything) {
        ZBLog::fastAppendLog("Processing projects...");
        return engine_.processProjects(listing);
    }
    if (!requests.changed.empty()) {
        ZBLog::fastAppendLog("Processing projects in %@...", requests.changed.description());
        const ChangedFolders changed = withRealNames(requests.changed);
        const AffectedProjects affected(changed.folders());
        engine_.processProjects(listing, [&](const Path& project) {
            const Path* const real = linkedNames_.realPath(project);
            return affected.contains(project) || (real && affected.contains(*real));
        });
    }
    if (requests.unrested) engine_.processUnrestedProjects(listing);
}

// The paths of the projects that were registered.
std::vector<Path> ScanRuns::discover(const Requests& requests, const ProjectListing& listing) {
    const bool isAskedFor = requests.everything || requests.everyWatchFolder ||
                            !requests.changed.empty() || !requests.onlyLookedThrough.empty() ||
                            !requests.paths.empty();
    if (!isAskedFor) return {};
    if (!listing.isComplete) {
        // docs/behaviour.md, own 5
        logProblem("New projects are not looked for, since settings in %@ cannot be read.",
                   listing.root);
        return {};
    }
    std::unordered_set<Path> known = knownPaths(listing);
    std::vector<Path> registered;
    const auto add = [&](std::vector<Path> found) {
        known.insert(found.begin(), found.end());
        std::ranges::move(found, std::back_inserter(registered));
    };
    if (requests.everything || requests.everyWatchFolder) {
        add(ProjectDiscovery::populateProjectsFromWatchFolders(known));
        return registered;
    }
    ChangedFolders changed = requests.changed;
    addAll(changed, requests.onlyLookedThrough);
    if (!changed.empty()) {
        add(ProjectDiscovery::populateProjectsFromChangedFolders(known, changed.folders()));
    }
    for (const Path& path : requests.paths) {
        add(ProjectDiscovery::populateProjectsFromWatchFolders(known, path));
    }
    return registered;
}

// docs/behaviour.md, own 4
void ScanRuns::backUpFirstStates(const std::vector<Path>& registered) {
    if (registered.empty()) return;
    const auto listing = engine_.listProjects();
    if (!listing) return;
    const std::unordered_set<Path> wanted(registered.begin(), registered.end());
    engine_.processProjects(*listing,
                            [&](const Path& project) { return wanted.contains(project); });
    current().connections.postDistributedNotification(filesBackedUpNotification);
}

// One timer for all projects that were set aside, for the first that is due.
void ScanRuns::planLookAtUnrested(Seconds soonest) {
    unrestedTimer_.reset();
    const auto next = engine_.nextUnrestedProject();
    if (!next) return;
    const Seconds wait = std::max(soonest, *next - current().clock.uptime());
    unrestedTimer_ = current().mainThread.scheduleRepeating(wait, [this] {
        unrestedTimer_.reset();
        request([](Requests& requests) { requests.unrested = true; });
    });
}

}  // namespace larkspan
