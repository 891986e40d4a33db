#include "frontend/KnownPreferences.h"

#include "foundation/Path.h"
#include "frontend/Suggestions.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <vector>

namespace larkspan {
namespace {

using enum PreferenceKind;
using enum NeedsConfiguration;

constexpr std::array table{
    KnownPreference{"watchFolders", folders, "", "Folders to watch; see larkspan watch.", yes},
    KnownPreference{"watchDriveFolders", folders, "", "Folders to watch on every volume.", yes},
    KnownPreference{"storagePath", path, "the user's Application Support folder",
                    "Folder of the version store.", yes},
    KnownPreference{"backupMinIntervalEnabled", onOff, "",
                    "Take versions of a project no closer than the interval.", yes},
    KnownPreference{"backupMinInterval", integer, "15", "The interval, in minutes.", yes},
    KnownPreference{"showGrowlAlerts", onOff, "1", "Show a notice for projects and versions."},
    KnownPreference{"xmlLimit", integer, "5", "Largest project to render as XML, 0 (none) to 7."},
    KnownPreference{"generateFCPXML", onOff, "", "Keep an XML rendition of Final Cut projects."},
    KnownPreference{"skipUnchangedSaves", onOff, "1",
                    "Take no version of a save that changed nothing."},
    KnownPreference{"removeDuplicates", onOff, "1", "Drop a version equal to the one before."},
    KnownPreference{"takeScreenshots", onOff, "1", "Keep a picture of the screen per version."},
    KnownPreference{"manageBackups", onOff, "1", "Thin out old versions."},
    KnownPreference{"backupManagementMinLimitSet", onOff, "1",
                    "Leave projects with few versions alone."},
    KnownPreference{"backupManagementMinLimit", integer, "25", "How many versions are few."},
    KnownPreference{"currentDayCount", integer, "1", "Days before the newest that are recent."},
    KnownPreference{"currentBackupLimitSet", onOff, "0", "Limit the recent versions."},
    KnownPreference{"currentBackupLimit", integer, "30", "Most recent versions to keep."},
    KnownPreference{"oldBackupLimitSet", onOff, "1", "Limit the older versions."},
    KnownPreference{"oldBackupLimit", integer, "30", "Most older versions to keep."},
    KnownPreference{"oldBackupType", integer, "0", "Thin by 0 day, 1 week or 2 month."},
    KnownPreference{"oldBackupCount", integer, "1", "Versions to keep for each of these."},
    KnownPreference{"deleteBackupSet", onOff, "1", "Remove versions beyond an age."},
    KnownPreference{"deleteBackupCount", integer, "90", "That age, in days."},
    KnownPreference{"removalType", integer, "0", "Removed versions: 0 to the Trash, 1 for good."},
    KnownPreference{"syncService", integer, "", "1 copies versions to Dropbox.", yes},
    KnownPreference{"syncDeleteRemoteFiles", onOff, "1", "Remove versions in the cloud as well."},
    KnownPreference{"syncAPIAddress", text, "", "Address of a stand-in for the cloud service."},
    KnownPreference{"syncContentAddress", text, "", "The same for files."},
    KnownPreference{"syncWebAddress", text, "", "The same for its pages."},
    KnownPreference{"lastRestoredProject", text, "", "Written by a restore."},
    KnownPreference{"lastRestoreDate", date, "", "Written by a restore."},
};

}  // namespace

std::span<const KnownPreference> knownPreferences() {
    return table;
}

const KnownPreference* knownPreference(std::string_view key) {
    const auto* const found = std::find_if(
        table.begin(), table.end(), [&](const auto& preference) { return preference.key == key; });
    return found == table.end() ? nullptr : found;
}

std::string didYouMeanPreference(std::string_view key) {
    std::vector<std::string> keys;
    for (const KnownPreference& preference : table) keys.emplace_back(preference.key);
    return didYouMean(keys, key);
}

std::optional<Value> integerOnly(const std::string& text) {
    std::int64_t number = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, number);
    if (error != std::errc() || end != last) return std::nullopt;
    return Value(static_cast<long>(number));
}

Value typedValue(const std::string& text) {
    if (auto number = integerOnly(text)) return std::move(*number);
    if (text == "true") return true;
    if (text == "false") return false;
    return text;
}

std::string misfit(const KnownPreference& preference, const Value& value) {
    const std::string key(preference.key);
    switch (preference.kind) {
        case onOff: {
            const bool fits = value.equalsNumber(0) || value.equalsNumber(1);
            return fits ? "" : key + " is 1 (on) or 0 (off).";
        }
        case integer:
            return value.integer() ? "" : key + " is a whole number.";
        case text:
            return value.string() ? "" : key + " is a text.";
        case path: {
            const bool fits = value.string() && Path(*value.string()).isAbsolute();
            return fits ? "" : key + " is an absolute path: it begins with a slash.";
        }
        case folders:
            return key + " is a list and cannot be set as a whole.";
        case date:
            return key + " is a date that only a restore sets.";
    }
    return {};
}

}  // namespace larkspan
