#include "sync/MirrorRecords.h"

#include "foundation/Error.h"
#include "foundation/PropertyList.h"
#include "kit/Preferences.h"
#include "kit/Problems.h"
#include "kit/ZBLocalPaths.h"

#include <algorithm>
#include <functional>

namespace larkspan {
namespace {

constexpr const char* namesFile = "MirrorNames.plist";
constexpr const char* removalsFile = "MirrorRemovals.plist";

std::optional<Path> recordFile(const char* name) {
    const auto support = ZBLocalPaths::appSupportDirectory(UserDomain::yes);
    return support ? std::optional(*support / "Corvane/Larkspan" / name) : std::nullopt;
}

Result<Value::Dictionary> load(const Path& file) {
    const Result<Value> loaded = loadPropertyList(file);
    if (!loaded && isMissing(loaded.error())) return Value::Dictionary();
    if (!loaded) return loaded.error();
    const auto* records = loaded->dictionary();
    return records ? *records : Value::Dictionary();
}

Result<Value::Dictionary> recordsIn(const char* name) {
    const auto file = recordFile(name);
    return file ? load(*file) : Value::Dictionary();
}

// `apply` says whether it changed anything.
void change(const char* name, const std::function<bool(Value::Dictionary&)>& apply) {
    const auto file = recordFile(name);
    if (!file) return;
    const auto lock = Preferences::lockForChange(*file);
    Result<Value::Dictionary> records = lock ? load(*file) : lock.error();
    std::optional<Error> error;
    if (!records) {
        error = records.error();
    } else if (apply(*records)) {
        error = savePropertyList(Value(std::move(*records)), *file);
    }
    if (error) logProblem("Unable to write %@: %@", *file, error->description);
}

// "PROJECT/NAME": a store may be moved.
std::string keyOf(const Path& version) {
    const Path project = version.deletingLastPathComponent().deletingLastPathComponent();
    return project.lastPathComponent() + "/" + version.lastPathComponent();
}

// False when the list holds the name.
bool addName(Value& list, const std::string& name) {
    Value::Array names = list.array() ? *list.array() : Value::Array();
    if (std::ranges::find(names, Value(name)) != names.end()) return false;
    names.emplace_back(name);
    list = std::move(names);
    return true;
}

}  // namespace

std::string archiveName(const Path& version) {
    return version.lastPathComponent() + ".zip";
}

std::string nameOfTry(const std::string& name, int number) {
    if (number == 1) return name;
    size_t at = name.size();
    // Before the version's number, so that this and the extension are still found.
    for (int dots = 0; dots < 3 && at != 0; ++dots) {
        const size_t dot = name.rfind('.', at - 1);
        if (dot == std::string::npos || dot == 0) break;
        at = dot;
    }
    return name.substr(0, at) + " (" + std::to_string(number) + ")" + name.substr(at);
}

namespace mirrorrecords {

Result<std::optional<std::string>> remoteName(const Path& version) {
    const auto names = recordsIn(namesFile);
    if (!names) return names.error();
    const auto found = names->find(keyOf(version));
    if (found == names->end()) return std::optional(archiveName(version));
    const std::string* name = found->second.string();
    return name && !name->empty() ? std::optional(*name) : std::nullopt;
}

void noteRemoteName(const Path& version, const std::optional<std::string>& name) {
    change(namesFile, [&](Value::Dictionary& names) {
        names.insert_or_assign(keyOf(version), name.value_or(""));
        return true;
    });
}

void forgetRemoteName(const Path& version) {
    change(namesFile, [&](Value::Dictionary& names) { return names.erase(keyOf(version)) != 0; });
}

std::vector<Path> removals() {
    std::vector<Path> versions;
    const auto removals = recordsIn(removalsFile);
    if (!removals) {
        logProblem("Unable to read what is to be removed from the mirror: %@",
                   removals.error().description);
        return versions;
    }
    for (const auto& [path, unused] : *removals) versions.emplace_back(path);
    return versions;
}

void addRemovals(const std::vector<Path>& versions) {
    const auto names = recordsIn(namesFile);
    if (!names) {
        logProblem("Unable to note what is to be removed from the mirror: %@",
                   names.error().description);
        return;
    }
    std::vector<std::string> taken;
    change(removalsFile, [&](Value::Dictionary& removals) {
        bool hasChanged = false;
        for (const Path& version : versions) {
            const auto noted = names->find(keyOf(version));
            if (noted == names->end() && removals.contains(version.str())) continue;
            const std::string* name = noted == names->end() ? nullptr : noted->second.string();
            if (noted != names->end()) taken.push_back(noted->first);
            hasChanged |= addName(removals[version.str()], name ? *name : archiveName(version));
        }
        return hasChanged;
    });
    if (taken.empty()) return;
    change(namesFile, [&](Value::Dictionary& left) {
        for (const std::string& key : taken) left.erase(key);
        return true;
    });
}

Result<std::optional<std::string>> nameToRemove(const Path& version) {
    const auto removals = recordsIn(removalsFile);
    if (!removals) return removals.error();
    const auto found = removals->find(version.str());
    const auto* names = found == removals->end() ? nullptr : found->second.array();
    const std::string* name = names && !names->empty() ? names->front().string() : nullptr;
    return name ? std::optional(*name) : std::nullopt;
}

void removalIsDone(const Path& version, const std::string& name) {
    bool waited = false;
    change(removalsFile, [&](Value::Dictionary& removals) {
        const auto found = removals.find(version.str());
        waited = found != removals.end();
        if (!waited) return false;
        Value::Array left = found->second.array() ? *found->second.array() : Value::Array();
        std::erase(left, Value(name));
        if (left.empty()) {
            removals.erase(found);
        } else {
            found->second = std::move(left);
        }
        return true;
    });
    if (name.empty() || name == archiveName(version)) return;
    // A process that was started for the same removal once more must not take the usual name.
    change(namesFile, [&](Value::Dictionary& names) {
        // A name that is noted beside one that waited is that of a new version.
        if (waited) return names.try_emplace(keyOf(version), "").second;
        names.insert_or_assign(keyOf(version), "");
        return true;
    });
}

}  // namespace mirrorrecords

}  // namespace larkspan
