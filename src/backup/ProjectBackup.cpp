#include "backup/ProjectBackup.h"

#include "backup/BackupRules.h"
#include "backup/StoreLayout.h"
#include "foundation/Text.h"
#include "kit/Identifiers.h"
#include "kit/Problems.h"
#include "kit/ZBAlert.h"
#include "kit/ZBFileManager.h"
#include "kit/ZBGrowl.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/Platform.h"

namespace larkspan {
namespace {

platform::Platform& current() {
    return platform::Platform::current();
}

// The date of the newest entry of a version folder. An XML rendition stands back behind the copy
// of the same name.
std::optional<Date> newestVersionDate(const Path& versions) {
    const auto entries = current().files.contentsOfFolder(versions);
    if (!entries) return std::nullopt;
    std::vector<std::string> names;
    for (const auto& entry : *entries) names.push_back(entry.name);
    const auto newest = newestVersionName(names);
    if (!newest) return std::nullopt;
    Path file = versions / *newest;
    if (lowercased(*newest).ends_with(".xml")) {
        const Path copy = file.deletingPathExtension().appendingPathExtension("fcp");
        if (current().files.exists(copy)) file = copy;
    }
    const auto info = current().files.info(file);
    return info ? std::optional(info->modificationDate) : std::nullopt;
}

bool comesTooSoon(const Path& project, const Path& versions, const Preferences& preferences) {
    const auto minimum = minimumInterval(preferences);
    if (!minimum) return false;
    const auto newest = newestVersionDate(versions);
    if (!newest || !isTooSoon(*newest, current().clock.now(), *minimum)) return false;
    ZBLog::appendLog("Backup skipped for %@ because a backup occurred less than %i minute(s) ago.",
                     project, minimum->count());
    return true;
}

bool isFrontEnd() {
    return current().bundles.mainBundle().identifier() == frontEndBundleIdentifier;
}

}  // namespace

void ProjectBackup::backupProject(const Path& project, const Path& toPath, VersionNumber withNumber,
                                  const BackupOptions& options) {
    const Path expanded = ZBLocalPaths::expandingTilde(project);
    if (!current().files.exists(expanded)) {
        ZBLog::appendLog("Unable to backup - %@ doesn't exist", project);
        return;
    }
    const Preferences preferences = Preferences::frontEnd();
    if (!options.force && comesTooSoon(project, toPath, preferences)) return;

    ZBLog::appendLog("Backing up project %@ to path %@", project, toPath);
    if (!destinationIsUsable(toPath, preferences, options.partOfBatch)) return;

    // Named after the number that was asked for, also when the copy moves to a higher one.
    const Path rendition(versionRenditionName(project, withNumber));
    takeScreenshot_(toPath.deletingLastPathComponent() / storelayout::screenshotsName,
                    rendition.deletingPathExtension().str(), withNumber);

    if (auto error = current().files.createFolder(toPath)) {
        logProblem("Error creating directory structure: %@", error->description);
        return;
    }
    const auto error = copy_.backupProjectFile(expanded, toPath, withNumber);
    if (error && isSilentSkip(*error)) return;

    const bool mayAlert = !options.partOfBatch && preferences.wantsAlerts();
    const std::string displayName = projectDisplayName(project);
    if (error) {
        if (mayAlert) alert("Project backup failed", displayName, "Backup failed");
        logProblem("Unable to copy project file %@: %@", displayName, error->description);
        return;
    }
    if (mayAlert) alert("Project backed up", displayName, "Backup successful");
    renditions_.addRendition(expanded, toPath, withNumber, options);
}

bool ProjectBackup::destinationIsUsable(const Path& toPath, const Preferences& preferences,
                                        bool partOfBatch) const {
    if (ZBFileManager::isDriveMountedForPath(toPath)) return true;
    logProblem("Unable to backup - destination drive not mounted.");
    if (!partOfBatch && preferences.wantsAlerts()) {
        ZBGrowl::postGrowlNotification("Project backup failed", "Drive is offline.", {},
                                       "Backup failed");
    }
    // The helper goes on, deliberately: the copy then fails with its own message, or lands on the
    // local disk rather than nowhere.
    if (!isFrontEnd()) return true;
    (void)ZBAlert::alertSheetWithMessageText(
        "Unable to backup",
        "The destination drive is not mounted. Please mount the drive or change the backup path in "
        "Preferences.",
        ZBAlert::mainWindow());
    return false;
}

void ProjectBackup::alert(const char* title, const std::string& description,
                          const char* notificationName) {
    ZBGrowl::postGrowlNotification(title, description, {}, notificationName);
    state_.lastAlertShown.with([](auto& date) { date = current().clock.now(); });
}

}  // namespace larkspan
