#include "frontend/WatchList.h"

#include "backup/StoreLayout.h"
#include "foundation/Text.h"
#include "frontend/Format.h"
#include "frontend/ProjectSearch.h"
#include "frontend/Settings.h"
#include "frontend/Suggestions.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <algorithm>

namespace larkspan {
namespace {

std::optional<WatchFolder> watchEntry(const Value& value) {
    auto entry = watchFolder(value);
    if (entry) entry->folder = withoutSlash(entry->folder);
    return entry;
}

bool isEntryFor(const Value& value, const Path& folder) {
    const auto entry = watchEntry(value);
    // One that was written by hand may have more slashes than it needs.
    return entry &&
           (entry->folder == folder || absolutePath(entry->folder.str(), Path("/")) == folder);
}

// Whether a walk down from `top` to `item` meets a folder that is never looked into.
bool isHiddenFrom(const Path& top, const Path& item) {
    const auto above = top.pathComponents().size();
    const auto components = item.pathComponents();
    return std::any_of(components.begin() + static_cast<std::ptrdiff_t>(above), components.end(),
                       [](const std::string& name) { return name.starts_with('.'); });
}

// Why a folder cannot be watched; the first is "" when it can be.
struct Obstacle {
    std::string text;
    std::string advice;
};

Obstacle obstacle(const Path& folder) {
    platform::Files& files = platform::Platform::current().files;
    const std::string name = printable(folder.str());
    const auto info = files.info(folder);
    if (!info && files.linkInfo(folder)) {
        return {name + " is a link that leads nowhere.",
                "Mount the volume or make the folder that it leads to, then try again."};
    }
    if (!info) {
        return {"There is no folder " + name + ".",
                "Check the spelling; if it is on a volume, mount that first."};
    }
    if (!info->isFolder()) {
        return {name + " is not a folder.",
                "Give the folder that holds it: larkspan watch add " +
                    shellQuoted(folder.deletingLastPathComponent().str())};
    }
    if (!files.openFolder(folder)) {
        return {"You may not read the folder " + name + ".",
                "Ask its owner for the right to read it, then try again."};
    }
    return {};
}

Obstacle storeObstacle(const Path& folder, const Preferences& preferences) {
    const auto root = storelayout::storeRoot(preferences);
    const std::string conflict = root ? storeConflict(folder, *root) : std::string();
    if (conflict.empty()) return {};
    return {conflict,
            "Watch a folder apart from it, or move the store: larkspan prefs storagePath FOLDER"};
}

}  // namespace

Path withoutSlash(const Path& path) {
    const size_t last = path.str().find_last_not_of('/');
    if (last == std::string::npos) return Path(path.empty() ? "" : "/");
    return Path(path.str().substr(0, last + 1));
}

std::vector<WatchFolder> watchEntries(const Value::Array& list) {
    std::vector<WatchFolder> entries;
    for (const Value& value : list) {
        if (auto entry = watchEntry(value)) entries.push_back(std::move(*entry));
    }
    return entries;
}

std::string tidyExtensions(const std::string& list) {
    std::vector<std::string> extensions;
    for (const std::string& piece : split(list, ',')) {
        std::string extension = lowercased(trimmed(piece));
        if (extension.starts_with('.')) extension.erase(0, 1);
        const bool known =
            std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
        if (!extension.empty() && !known) extensions.push_back(std::move(extension));
    }
    return joined(extensions, ",");
}

Value::Array withFolder(Value::Array list, const Path& folder, const std::string& extensions) {
    bool found = false;
    for (Value& value : list) {
        if (!isEntryFor(value, folder)) continue;
        Value::Dictionary entry = *value.dictionary();
        entry.insert_or_assign("folder", folder.str());
        entry.insert_or_assign("extensions", extensions);
        value = Value(std::move(entry));
        found = true;
    }
    if (!found) {
        list.emplace_back(Value::Dictionary{{"folder", folder.str()}, {"extensions", extensions}});
    }
    return list;
}

Value::Array withoutFolder(Value::Array list, const Path& folder) {
    std::erase_if(list, [&](const Value& value) { return isEntryFor(value, folder); });
    return list;
}

std::string storeConflict(const Path& folder, const Path& storeRoot) {
    const Path root = withoutSlash(storeRoot);
    if (folder.isWithin(root)) {
        return printable(folder.str()) + " lies in the version store " + printable(root.str()) +
               ": every version would become a project of its own.";
    }
    if (root.isWithin(folder) && !isHiddenFrom(folder, root)) {
        return printable(folder.str()) + " holds the version store " + printable(root.str()) +
               ": every version would become a project of its own.";
    }
    return {};
}

std::vector<Path> overlappingFolders(const std::vector<WatchFolder>& entries, const Path& folder) {
    std::vector<Path> found;
    for (const WatchFolder& entry : entries) {
        if (entry.folder == folder) continue;
        const bool overlaps = entry.folder.isWithin(folder) || folder.isWithin(entry.folder);
        if (overlaps) found.push_back(entry.folder);
    }
    return found;
}

std::vector<Path> nearFolders(const std::vector<WatchFolder>& entries, const Path& typed) {
    std::vector<Path> near;
    for (const WatchFolder& entry : entries) {
        const std::string name = entry.folder.lastPathComponent();
        const bool isNear = !nearest({name}, typed.lastPathComponent()).empty() ||
                            !nearest({entry.folder.str()}, typed.str()).empty() ||
                            entry.folder.isWithin(typed) || typed.isWithin(entry.folder);
        if (isNear) near.push_back(entry.folder);
    }
    return near;
}

std::optional<Value::Array> readWatchList(Context& context) {
    const auto preferences = readPreferences(context);
    if (!preferences) return std::nullopt;
    const Value* stored = preferences->object(watchFoldersKey);
    if (!stored) return Value::Array();
    if (stored->array()) return *stored->array();
    context.output.error(
        "The preference watchFolders holds no list of folders.",
        "Remove it and add your folders anew: larkspan prefs watchFolders --delete");
    return std::nullopt;
}

bool changeWatchList(Context& context,
                     const std::function<Value::Array(const Value::Array& list)>& change) {
    return changePreference(context, watchFoldersKey, [&](const Value* present) {
        const Value::Array* list = present ? present->array() : nullptr;
        return Value(change(list ? *list : Value::Array()));
    });
}

Addition addWatchFolder(Context& context, const Path& folder,
                        const std::optional<std::string>& extensions) {
    const auto preferences = readPreferences(context);
    auto list = readWatchList(context);
    if (!preferences || !list) return Addition::failed;
    for (const auto& [text, advice] : {obstacle(folder), storeObstacle(folder, *preferences)}) {
        if (text.empty()) continue;
        context.output.error(text, advice);
        return Addition::failed;
    }
    const auto entries = watchEntries(*list);
    const auto listed = std::find_if(entries.begin(), entries.end(),
                                     [&](const auto& entry) { return entry.folder == folder; });
    const bool isListed = listed != entries.end();
    const std::string wanted =
        extensions.value_or(isListed ? listed->extensions : std::string(defaultExtensions));
    if (isListed && wanted == listed->extensions) return Addition::unchanged;
    const auto add = [&](const Value::Array& now) { return withFolder(now, folder, wanted); };
    if (!changeWatchList(context, add)) return Addition::failed;
    for (const Path& other : overlappingFolders(entries, folder)) {
        context.output.message("Note: " + printable(other.str()) +
                               " is watched too and overlaps with it; a project below both is "
                               "registered once.");
    }
    return isListed ? Addition::changed : Addition::added;
}

std::string listedExtensions(Context& context, const Path& folder) {
    const auto list = readWatchList(context);
    if (!list) return {};
    for (const WatchFolder& entry : watchEntries(*list)) {
        if (entry.folder == folder) return entry.extensions;
    }
    return {};
}

}  // namespace larkspan
