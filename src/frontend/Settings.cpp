#include "frontend/Settings.h"

#include "backup/StoreLayout.h"
#include "frontend/Format.h"
#include "kit/ZBLog.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <utility>

namespace larkspan {
namespace {

constexpr std::uint64_t largestLog = 500'000;

std::optional<Path> preferencesFile(Context& context) {
    auto file = Preferences::frontEndFile();
    if (!file) {
        context.output.error("This user has no folder for preferences.",
                             "Set HOME to a home folder and try again.");
    }
    return file;
}

}  // namespace

std::string unreadablePreferencesAdvice(const Path& file) {
    const std::string aside = shellQuoted(file.str() + ".unreadable");
    return "Nothing was changed. Repair the file, or start anew by moving it aside: mv " +
           shellQuoted(file.str()) + " " + aside;
}

std::optional<Preferences> readPreferences(Context& context) {
    const auto file = preferencesFile(context);
    if (!file) return std::nullopt;
    Result<Preferences> preferences = Preferences::read(file);
    if (preferences) return std::move(*preferences);
    context.output.error("The preferences file " + printable(file->str()) +
                             " cannot be read: " + printable(preferences.error().description),
                         unreadablePreferencesAdvice(*file));
    return std::nullopt;
}

bool changePreference(Context& context, const std::string& key, const Preferences::Change& change) {
    // Looked at first, so that an unreadable file is told from one that cannot be written.
    if (!readPreferences(context)) return false;
    const auto file = preferencesFile(context);
    const auto error = Preferences::changeObject(*file, key, change);
    if (!error) return true;
    context.output.error(
        "The preferences file " + printable(file->str()) +
            " cannot be written: " + printable(error->description),
        "Nothing was changed. Check the permissions of its folder and the free space there.");
    return false;
}

std::optional<Path> storeRoot(Context& context) {
    const auto preferences = readPreferences(context);
    if (!preferences) return std::nullopt;
    auto root = storelayout::storeRoot(*preferences);
    if (!root) {
        context.output.error("This user has no folder for the version store.",
                             "Choose one with: larkspan prefs storagePath FOLDER");
    }
    return root;
}

void prepareLog() {
    if (Preferences::organisation().isSwitchedOn("disable-logging")) return ZBLog::disableLogging();
    const auto logs = ZBLog::availableLogs();
    const auto info = logs.empty()
                          ? std::nullopt
                          : platform::Platform::current().files.info(logs.front()).optional();
    if (!info || info->size > largestLog) ZBLog::createNewLog();
}

}  // namespace larkspan
