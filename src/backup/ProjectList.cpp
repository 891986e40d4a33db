#include "backup/ProjectList.h"

#include "foundation/PropertyList.h"
#include "kit/ZBLog.h"

#include <algorithm>
#include <utility>

namespace larkspan {
namespace {

// Longer than the steps in which any usual file system keeps dates (2 seconds on FAT).
constexpr Seconds coarsestDates{2.5};

}  // namespace

ProjectList::Seen ProjectList::seen(const platform::FileInfo& info) const {
    const Date newest = std::max(info.modificationDate, info.attributeChangeDate);
    return {info.identity, info.size, info.modificationDate, info.attributeChangeDate,
            secondsBetween(newest, clock_.now()) > coarsestDates};
}

bool ProjectList::isUnchanged(const std::optional<Seen>& before, const platform::FileInfo& now) {
    return before && before->settled && before->identity == now.identity &&
           before->size == now.size && before->modificationDate == now.modificationDate &&
           before->attributeChangeDate == now.attributeChangeDate;
}

std::vector<ProjectEntry> ProjectList::projects(const Path& root) {
    const std::lock_guard lock(mutex_);
    std::vector<ProjectEntry> found;
    const auto store = files_.openFolder(root);
    if (!store) return found;
    if (root != root_) known_.clear();
    root_ = root;
    for (auto& [name, known] : known_) known.met = false;

    const auto entries = (*store)->entries([](std::string_view, platform::EntryKind kind) {
        return kind != platform::EntryKind::file;
    });
    if (!entries) return found;
    found.reserve(entries->size());
    for (const platform::DirectoryEntry& entry : *entries) {
        Known& known = known_[entry.name];
        known.met = true;
        readSettings(**store, entry.name, known);
        if (known.entry) found.push_back(*known.entry);
    }
    std::erase_if(known_, [](const auto& item) { return !item.second.met; });
    return found;
}

void ProjectList::readSettings(platform::Folder& store, const std::string& folderName,
                               Known& known) {
    const std::string file = folderName + "/" + storelayout::settingsName;
    const auto info = store.info(file);
    if (!info) {
        known.settings.reset();
        known.entry.reset();
        return;
    }
    if (isUnchanged(known.settings, *info)) return;
    known.settings = seen(*info);
    known.entry = parseSettings(folderName, store.readFile(file, largestPropertyList));
}

std::optional<ProjectEntry> ProjectList::parseSettings(const std::string& folderName,
                                                       const Result<std::string>& bytes) const {
    const Result<Value> settings = bytes ? parsePropertyList(*bytes) : Result<Value>(bytes.error());
    if (!settings) {
        const Path folder = root_ / folderName;
        if (complain_) {
            complain_(folder, settings.error());
        } else {
            ZBLog::appendLog("Unable to read the settings of project %@: %@", folder,
                             settings.error().description);
        }
        return std::nullopt;
    }
    const Value* path = settings->find("projectPath");
    if (!path || !path->string()) return std::nullopt;
    ProjectEntry entry{Path(*path->string()), storelayout::projectID(Path(folderName)),
                       std::nullopt, std::nullopt};
    if (const Value* sequences = settings->find("sequences"); sequences && sequences->array()) {
        entry.sequences = *sequences->array();
    }
    if (const Value* selected = settings->find("selectedUUID"); selected && selected->string()) {
        entry.selectedUUID = *selected->string();
    }
    return entry;
}

std::optional<NewestVersion> ProjectList::newestVersion(platform::Folder& store,
                                                        const std::string& folderName) {
    const std::lock_guard lock(mutex_);
    const std::string versionsFolder = folderName + "/" + storelayout::versionsName;
    const auto info = store.info(versionsFolder);
    if (!info) return std::nullopt;
    Known& known = known_[folderName];
    if (!isUnchanged(known.versions, *info)) {
        known.versions = seen(*info);
        known.newestName = newestName(store, versionsFolder);
    }
    if (!known.newestName) return std::nullopt;
    const auto version = store.info(versionsFolder + "/" + *known.newestName);
    // A version whose date cannot be read (a dangling link) reads as the oldest date there is, so
    // that the project counts as newer and nothing is missed.
    return NewestVersion{*known.newestName, version ? version->modificationDate : Date::min()};
}

std::optional<std::string> ProjectList::newestName(platform::Folder& store,
                                                   const std::string& versionsFolder) {
    const auto folder = store.openFolder(versionsFolder);
    if (!folder) return std::nullopt;
    std::vector<std::string> names;
    const auto isVisible = [](std::string_view name, platform::EntryKind) {
        return !isHiddenName(name);
    };
    auto entries = (*folder)->entries(isVisible);
    if (!entries) return std::nullopt;
    for (auto& entry : *entries) names.push_back(std::move(entry.name));
    return newestVersionName(names);
}

}  // namespace larkspan
