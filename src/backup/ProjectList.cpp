#include "backup/ProjectList.h"

#include "foundation/PropertyList.h"
#include "kit/Problems.h"

#include <algorithm>
#include <utility>

namespace larkspan {
namespace {

// Longer than the steps in which any usual file system keeps dates (2 seconds on FAT).
constexpr Seconds coarsestDates{2.5};

std::optional<ProjectEntry> entryOf(const Value& settings, const std::string& folderName) {
    const Value* path = settings.find("projectPath");
    if (!path || !path->string()) return std::nullopt;
    ProjectEntry entry{Path(*path->string()), storelayout::projectID(Path(folderName)),
                       std::nullopt, std::nullopt};
    if (const Value* sequences = settings.find("sequences"); sequences && sequences->array()) {
        entry.sequences = *sequences->array();
    }
    if (const Value* selected = settings.find("selectedUUID"); selected && selected->string()) {
        entry.selectedUUID = *selected->string();
    }
    return entry;
}

}  // namespace

ProjectList::Seen ProjectList::seen(const platform::FileInfo& info) const {
    const Date newest = std::max(info.modificationDate, info.attributeChangeDate);
    return {stateOf(info), secondsBetween(newest, clock_.now()) > coarsestDates};
}

ProjectList::State ProjectList::stateOf(const platform::FileInfo& info) {
    return {info.identity, info.size, info.modificationDate, info.attributeChangeDate};
}

bool ProjectList::isUnchanged(const std::optional<Seen>& before, const State& now) {
    return before && before->settled && before->state == now;
}

// A run asks for the projects in their order, several times for each.
ProjectList::Known& ProjectList::known(const std::string& folderName) {
    for (const size_t place : {asked_, asked_ + 1}) {
        if (place >= listed_.size() || listed_[place]->first != folderName) continue;
        asked_ = place;
        return listed_[place]->second;
    }
    Known& known = known_.try_emplace(folderName).first->second;
    asked_ = known.place;
    return known;
}

const std::string& ProjectList::pathOf(std::initializer_list<std::string_view> names) {
    path_.clear();
    for (const std::string_view name : names) {
        if (!path_.empty()) path_ += '/';
        path_ += name;
    }
    return path_;
}

Result<ProjectListing> ProjectList::list(const Path& root, Look look) {
    const std::lock_guard lock(mutex_);
    ProjectListing listing{.root = root, .store = nullptr, .projects = {}, .unreadable = {}};
    auto store = files_.openFolder(root);
    if (!store && isMissing(store.error())) return listing;
    if (!store) return store.error();
    if (root != root_) {
        listed_.clear();
        known_.clear();
        rootFolder_.reset();
    }
    root_ = root;
    if (auto error = listStore(**store, look)) return *error;
    listing.store = std::move(*store);
    listing.projects.reserve(listed_.size());
    for (const KnownProject* project : listed_) {
        const auto& [name, known] = *project;
        if (!known.isUnreadable) {
            if (known.entry) listing.projects.push_back(*known.entry);
        } else if (known.entry) {
            listing.unreadable.push_back(known.entry->path);
        } else if (name.ends_with(storelayout::folderSuffix)) {
            listing.isComplete = false;
        }
    }
    return listing;
}

// Brings what is known of the projects up to date.
std::optional<Error> ProjectList::listStore(platform::Folder& store, Look look) {
    ++listings_;
    const auto info = store.info();
    if (look == Look::atTheStoreFolder && info && isUnchanged(rootFolder_, stateOf(*info)))
        return {};
    const auto entries = store.entries([](std::string_view, platform::EntryKind kind) {
        return kind != platform::EntryKind::file;
    });
    if (!entries) return entries.error();
    bool isReadable = true;
    const std::vector<KnownProject*> before = std::exchange(listed_, {});
    listed_.reserve(entries->size());
    size_t next = 0;  // of those before, which mostly come in the same order
    for (const platform::DirectoryEntry& entry : *entries) {
        const bool isNext = next < before.size() && before[next]->first == entry.name;
        KnownProject& project = isNext ? *before[next] : *known_.try_emplace(entry.name).first;
        Known& known = project.second;
        if (known.metIn != 0) next = known.place + 1;
        known.metIn = listings_;
        known.place = listed_.size();
        readSettings(store, entry.name, known);
        listed_.push_back(&project);
        isReadable = isReadable && !known.isUnreadable;
    }
    std::erase_if(known_, [this](const auto& item) { return item.second.metIn != listings_; });
    rootFolder_.reset();
    if (info && isReadable) rootFolder_ = seen(*info);
    return {};
}

void ProjectList::readSettings(platform::Folder& store, const std::string& folderName,
                               Known& known) {
    const std::string& file = pathOf({folderName, storelayout::settingsName});
    const auto info = store.info(file);
    if (!info && !isMissing(info.error())) return settingsFailed(folderName, known, info.error());
    if (info && isUnchanged(known.settings, stateOf(*info))) {
        known.isUnreadable = false;
        return;
    }
    const auto bytes = info ? store.readFile(file, largestPropertyList) : info.error();
    if (!bytes && !isMissing(bytes.error())) {
        return settingsFailed(folderName, known, bytes.error());
    }
    known.isUnreadable = false;
    known.settings.reset();
    known.entry.reset();
    if (!bytes) return;
    known.settings = seen(*info);
    parseSettings(folderName, *bytes, known);
}

// What was read of them before stands.
void ProjectList::settingsFailed(const std::string& folderName, Known& known, const Error& error) {
    if (!known.isUnreadable) complain(folderName, error);
    known.isUnreadable = true;
    known.settings.reset();
}

void ProjectList::parseSettings(const std::string& folderName, const std::string& bytes,
                                Known& known) {
    const Result<Value> settings = parsePropertyList(bytes);
    if (!settings) return complain(folderName, settings.error());
    known.entry = entryOf(*settings, folderName);
}

void ProjectList::complain(const std::string& folderName, const Error& error) const {
    const Path folder = root_ / folderName;
    if (complain_) return complain_(folder, error);
    logProblem("Unable to read the settings of project %@: %@", folder, error.description);
}

Result<std::optional<NewestVersion>> ProjectList::newestVersion(platform::Folder& store,
                                                                const std::string& folderName) {
    const std::lock_guard lock(mutex_);
    Known& known = this->known(folderName);
    if (const auto error = lookAtVersions(store, folderName, known)) return *error;
    if (!known.newestName) return std::optional<NewestVersion>();
    const auto version =
        store.info(pathOf({folderName, storelayout::versionsName, *known.newestName}));
    if (!version && !isMissing(version.error())) return version.error();
    // A dangling link reads as the oldest date there is, so that the project counts as newer and
    // nothing is missed.
    if (!version) return std::optional(NewestVersion{*known.newestName, Date::min()});
    return std::optional(
        NewestVersion{*known.newestName, version->modificationDate, version->size});
}

std::optional<Error> ProjectList::lookAtVersions(platform::Folder& store,
                                                 const std::string& folderName, Known& known) {
    const std::string& versionsFolder = pathOf({folderName, storelayout::versionsName});
    const auto info = store.info(versionsFolder);
    if (!info && !isMissing(info.error())) return info.error();
    known.versionsLookedAtIn = listings_;
    if (info && isUnchanged(known.versions, stateOf(*info))) return {};
    known.versions.reset();
    known.newestName.reset();
    known.versionCount = 0;
    if (!info) return {};
    if (auto error = listVersions(store, versionsFolder, known)) return error;
    known.versions = seen(*info);
    return {};
}

std::optional<Error> ProjectList::listVersions(platform::Folder& store,
                                               const std::string& versionsFolder, Known& known) {
    const auto folder = store.openFolder(versionsFolder);
    if (!folder) return folder.error();
    const auto isVisible = [](std::string_view name, platform::EntryKind) {
        return !isHiddenName(name);
    };
    auto entries = (*folder)->entries(isVisible);
    if (!entries) return entries.error();
    std::vector<std::string> names;
    names.reserve(entries->size());
    for (auto& entry : *entries) names.push_back(std::move(entry.name));
    known.newestName = newestVersionName(names);
    known.versionCount = static_cast<long>(names.size());
    return {};
}

bool ProjectList::hasNothingToRemove(platform::Folder& store, const std::string& folderName,
                                     const RetentionRules& rules) {
    const std::lock_guard lock(mutex_);
    Known& known = this->known(folderName);
    known.versionsForRetention.reset();
    if (known.versions && known.versionsLookedAtIn == listings_) {
        known.versionsForRetention = known.versions;
    } else if (const auto info = store.info(pathOf({folderName, storelayout::versionsName}))) {
        known.versionsForRetention = seen(*info);
    }
    return known.versionsForRetention && known.quiet && known.quiet->rules == rules &&
           isUnchanged(known.quiet->versions, known.versionsForRetention->state) &&
           clock_.now() < known.quiet->until;
}

void ProjectList::noteNothingToRemove(const std::string& folderName, const RetentionRules& rules,
                                      Date until) {
    const std::lock_guard lock(mutex_);
    Known& known = this->known(folderName);
    known.quiet.reset();
    if (known.versionsForRetention) {
        known.quiet = Quiet{rules, until, *known.versionsForRetention};
    }
}

std::optional<long> ProjectList::versionCount(const std::string& folderName) {
    const std::lock_guard lock(mutex_);
    const Known& known = this->known(folderName);
    const bool isKnown = known.versions && known.versionsLookedAtIn == listings_;
    return isKnown ? std::optional(known.versionCount) : std::nullopt;
}

void ProjectList::forgetVersions(const std::string& folderName) {
    const std::lock_guard lock(mutex_);
    Known& known = this->known(folderName);
    known.versions.reset();
    known.quiet.reset();
    known.settledProject.reset();
    known.versionsLookedAtIn = 0;
}

void ProjectList::noteSettled(const std::string& folderName, const platform::FileInfo& project) {
    const std::lock_guard lock(mutex_);
    known(folderName).settledProject = seen(project);
}

bool ProjectList::isSettled(const std::string& folderName, const platform::FileInfo& project) {
    const std::lock_guard lock(mutex_);
    return isUnchanged(known(folderName).settledProject, stateOf(project));
}

}  // namespace larkspan
