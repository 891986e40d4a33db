#pragma once

#include "foundation/Path.h"
#include "foundation/Result.h"
#include "foundation/Value.h"
#include "platform/Files.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace larkspan {

// One reading of a preferences file: a property list with a dictionary at its top. Nothing is
// cached, every decision loads the file afresh. A missing file has no keys; one that cannot be read
// has none either, and says so in the log once for each state of the file. Any thread.
class Preferences {
  public:
    // As if the file did not exist.
    Preferences() = default;
    // As if the file held this dictionary.
    explicit Preferences(Value values) : values_(std::move(values)), exists_(true) {}

    // The front-end's preferences, which steer the helper.
    static Preferences frontEnd();
    // Shared by the organisation's applications.
    static Preferences organisation();
    // The running program's own defaults.
    static Preferences ownDefaults();
    static Preferences load(const std::optional<Path>& file);
    // The same without the log: a file that cannot be read is the caller's to report.
    static Result<Preferences> read(const std::optional<Path>& file);

    // Where they lie; empty when the user has no preferences folder.
    static std::optional<Path> frontEndFile();
    static std::optional<Path> ownDefaultsFile();

    // Whether the file was there and could be read.
    bool exists() const { return exists_; }

    // The value of a key; null when it is missing.
    const Value* object(std::string_view key) const { return values_.find(key); }
    // The value read as an integer; `absent` when the key is missing.
    long integer(std::string_view key, long absent) const;
    // The value when it is a string.
    std::optional<std::string> string(std::string_view key) const;
    // The entries when it is an array, else none.
    Value::Array array(std::string_view key) const;
    // Whether the value is the string "1" or a number equal to 1; anything else is off.
    bool isSwitchedOn(std::string_view key) const;
    // Whether notices about single backups and projects are wanted: unless the key
    // showGrowlAlerts equals the number 0.
    bool wantsAlerts() const;

    const Value& values() const { return values_; }

    // Gives the new value of a key for the present one, null when it is missing; nothing to remove
    // it.
    using Change = std::function<std::optional<Value>(const Value* present)>;

    // Changes one key of a preferences file and writes the whole file atomically. Other programs'
    // changes are waited for, a few seconds at most, and none is lost. A file that is there but
    // cannot be read is an error, so that nothing in it is lost either.
    static std::optional<Error> changeObject(const Path& file, const std::string& key,
                                             const Change& change);
    // Keeps other programs' changes of a preferences file waiting for as long as it lives.
    static Result<std::unique_ptr<platform::FolderLock>> lockForChange(const Path& file);
    static std::optional<Error> setObject(const Path& file, const std::string& key, Value object);
    static std::optional<Error> removeObject(const Path& file, const std::string& key);

  private:
    Value values_;
    bool exists_ = false;
};

// The dictionary in a property-list file. ENOENT (posixErrorDomain) when there is no file; a file
// that is torn, too large or holds no dictionary gives an error in words.
Result<Value> loadPropertyList(const Path& file);

// Writes a property list whole or not at all, with the folder above it where that is missing.
std::optional<Error> savePropertyList(const Value& value, const Path& file);

}  // namespace larkspan
