#include "sync/MirrorRecords.h"

#include "foundation/Error.h"
#include "foundation/PropertyList.h"
#include "kit/Preferences.h"
#include "kit/Problems.h"
#include "kit/ZBLocalPaths.h"

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
    change(removalsFile, [&](Value::Dictionary& removals) {
        for (const Path& version : versions) removals.insert_or_assign(version.str(), true);
        return !versions.empty();
    });
}

void removalIsDone(const Path& version) {
    change(removalsFile,
           [&](Value::Dictionary& removals) { return removals.erase(version.str()) != 0; });
}

}  // namespace mirrorrecords

}  // namespace larkspan
