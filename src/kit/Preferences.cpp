#include "kit/Preferences.h"

#include "foundation/Guarded.h"
#include "foundation/PropertyList.h"
#include "kit/Identifiers.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "platform/Bundles.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <cerrno>
#include <map>
#include <utility>

namespace larkspan {
namespace {

platform::Files& files() {
    return platform::Platform::current().files;
}

std::optional<Path> preferencesFile(const std::string& name) {
    const auto folder = ZBLocalPaths::prefsDirectory(UserDomain::yes);
    if (!folder) return std::nullopt;
    return *folder / name;
}

// Files complained about, with the modification date that they had then: every decision reads its
// file afresh, and one complaint for each state of a file is enough.
Guarded<std::map<Path, Date>>& complaints() {
    static Guarded<std::map<Path, Date>> made;
    return made;
}

void complainOnce(const Path& file, const Error& error) {
    const auto info = files().info(file);
    const Date changed = info ? info->modificationDate : Date();
    const bool isNew = complaints().with([&](auto& made) {
        const auto [known, added] = made.emplace(file, changed);
        return added || std::exchange(known->second, changed) != changed;
    });
    if (!isNew) return;
    ZBLog::fastAppendLog("Unable to read preferences file %@: %@", file, error.description);
}

// A change takes milliseconds; another that takes longer has come to a standstill.
constexpr Seconds longestWaitForOthers{5};

// What is to be written back with a change; an empty dictionary for a missing file.
Result<Value::Dictionary> editableValues(const Path& file) {
    const Result<Value> loaded = loadPropertyList(file);
    if (loaded) return *loaded->dictionary();
    if (isMissing(loaded.error())) return Value::Dictionary();
    return loaded.error();
}

}  // namespace

Result<Value> loadPropertyList(const Path& file) {
    const Result<std::string> bytes = files().readFile(file, largestPropertyList);
    if (!bytes) return bytes.error();
    Result<Value> value = parsePropertyList(*bytes);
    if (value && !value->dictionary()) {
        return Error{propertyListErrorDomain, 0, "the property list holds no dictionary"};
    }
    return value;
}

std::optional<Error> savePropertyList(const Value& value, const Path& file) {
    if (auto error = files().createFolder(file.deletingLastPathComponent())) return error;
    return files().writeFileAtomically(file, serializePropertyList(value));
}

std::optional<Path> Preferences::frontEndFile() {
    return preferencesFile(std::string(frontEndBundleIdentifier) + ".plist");
}

std::optional<Path> Preferences::ownDefaultsFile() {
    const std::string identifier = platform::Platform::current().bundles.mainBundle().identifier();
    if (identifier.empty()) return std::nullopt;
    return preferencesFile(identifier + ".plist");
}

Preferences Preferences::frontEnd() {
    return load(frontEndFile());
}
Preferences Preferences::organisation() {
    return load(preferencesFile(organisationPreferencesFile));
}
Preferences Preferences::ownDefaults() {
    return load(ownDefaultsFile());
}

Result<Preferences> Preferences::read(const std::optional<Path>& file) {
    Preferences preferences;
    if (!file) return preferences;
    Result<Value> loaded = loadPropertyList(*file);
    if (!loaded && !isMissing(loaded.error())) return loaded.error();
    if (loaded) {
        preferences.values_ = std::move(*loaded);
        preferences.exists_ = true;
    }
    return preferences;
}

Preferences Preferences::load(const std::optional<Path>& file) {
    Result<Preferences> preferences = read(file);
    if (preferences) return std::move(*preferences);
    complainOnce(*file, preferences.error());
    return {};
}

long Preferences::integer(std::string_view key, long absent) const {
    const Value* value = object(key);
    return value ? value->integerValue() : absent;
}

std::optional<std::string> Preferences::string(std::string_view key) const {
    const Value* value = object(key);
    const std::string* text = value ? value->string() : nullptr;
    return text ? std::optional(*text) : std::nullopt;
}

Value::Array Preferences::array(std::string_view key) const {
    const Value* value = object(key);
    const Value::Array* entries = value ? value->array() : nullptr;
    return entries ? *entries : Value::Array();
}

bool Preferences::isSwitchedOn(std::string_view key) const {
    const Value* value = object(key);
    return value && (*value == Value("1") || value->equalsNumber(1));
}

bool Preferences::wantsAlerts() const {
    const Value* value = object("showGrowlAlerts");
    return !value || !value->equalsNumber(0);
}

Result<std::unique_ptr<platform::FolderLock>> Preferences::lockForChange(const Path& file) {
    const Path folder = file.deletingLastPathComponent();
    if (auto error = files().createFolder(folder)) return *error;
    return files().lockFolder(folder, longestWaitForOthers);
}

std::optional<Error> Preferences::changeObject(const Path& file, const std::string& key,
                                               const Change& change) {
    const auto lock = lockForChange(file);
    if (!lock) return lock.error();
    Result<Value::Dictionary> values = editableValues(file);
    if (!values) return values.error();
    const auto present = values->find(key);
    std::optional<Value> wanted = change(present == values->end() ? nullptr : &present->second);
    if (wanted) {
        values->insert_or_assign(key, std::move(*wanted));
    } else if (values->erase(key) == 0) {
        return std::nullopt;
    }
    return files().writeFileAtomically(file, serializePropertyList(Value(std::move(*values))));
}

std::optional<Error> Preferences::setObject(const Path& file, const std::string& key,
                                            Value object) {
    return changeObject(file, key, [&](const Value*) { return object; });
}

std::optional<Error> Preferences::removeObject(const Path& file, const std::string& key) {
    return changeObject(file, key, [](const Value*) { return std::nullopt; });
}

}  // namespace larkspan
