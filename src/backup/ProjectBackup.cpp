#include "backup/ProjectBackup.h"

#include "backup/BackupRules.h"
#include "backup/RenditionRules.h"
#include "backup/Retention.h"
#include "backup/Screenshots.h"
#include "backup/StoreLayout.h"
#include "backup/UnchangedSave.h"
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

// Whether the newest version holds what the project holds; it has the project's date afterwards.
bool isUnchanged(const Path& project, const Path& versions, const std::string& newestName) {
    const auto info = current().files.info(project);
    const Path newest = versions / unchangedsave::copyOf(versions, newestName);
    if (!info || !unchangedsave::equalsVersion(project, *info, newest)) return false;
    unchangedsave::dateVersion(versions, newestName, *info);
    return true;
}

bool isFrontEnd() {
    return current().bundles.mainBundle().identifier() == frontEndBundleIdentifier;
}

}  // namespace

BackupOutcome ProjectBackup::backupProject(const Path& project, const Path& toPath,
                                           VersionNumber withNumber, const BackupOptions& options) {
    const Path expanded = ZBLocalPaths::expandingTilde(project);
    if (!current().files.exists(expanded)) {
        ZBLog::appendLog("Unable to backup - %@ doesn't exist", project);
        return BackupOutcome::failed;
    }
    const Preferences preferences = Preferences::frontEnd();
    if (!options.force && comesTooSoon(project, toPath, preferences)) {
        return BackupOutcome::notNeeded;
    }
    if (options.unlessEqualTo && isUnchanged(expanded, toPath, *options.unlessEqualTo)) {
        return BackupOutcome::unchanged;
    }
    ZBLog::appendLog("Backing up project %@ to path %@", project, toPath);
    if (!destinationIsUsable(toPath, preferences, options.partOfBatch)) {
        return BackupOutcome::failed;
    }
    // Named after the number that was asked for (docs/behaviour.md, fixed 6).
    const Path rendition(versionRenditionName(project, withNumber));
    const auto picture =
        takeScreenshot(toPath.deletingLastPathComponent() / storelayout::screenshotsName,
                       rendition.deletingPathExtension().str(), withNumber);
    const BackupOutcome outcome =
        takeVersion({project, expanded, toPath, withNumber, options}, preferences);
    // A picture belongs to a version.
    if (outcome != BackupOutcome::taken && picture) (void)current().files.removeItem(*picture);
    return outcome;
}

BackupOutcome ProjectBackup::takeVersion(const Request& request, const Preferences& preferences) {
    if (auto error = current().files.createFolder(request.versions)) {
        logProblem("Error creating directory structure: %@", error->description);
        return BackupOutcome::failed;
    }
    const auto version =
        copy_.backupProjectFile(request.expanded, request.versions, request.number);
    if (!version && isSilentSkip(version.error())) return BackupOutcome::notNeeded;
    if (!version && isStillBeingWritten(version.error())) return BackupOutcome::stillBeingWritten;

    const bool mayAlert = !request.options.partOfBatch && preferences.wantsAlerts();
    const std::string displayName = projectDisplayName(request.project);
    if (!version) {
        if (mayAlert) alert("Project backup failed", displayName, "Backup failed");
        logProblem("Unable to copy project file %@: %@", displayName, version.error().description);
        return BackupOutcome::failed;
    }
    // docs/behaviour.md, own 3
    if (XMLRendition::isFor(request.expanded) && !request.options.force &&
        renditionSettings(preferences).removesDuplicates &&
        Retention::removeLastDuplicateForProject(request.versions)) {
        return BackupOutcome::notNeeded;
    }
    if (mayAlert) alert("Project backed up", displayName, "Backup successful");
    upload_(*version);
    renditions_.addRendition(request.expanded, request.versions, request.number, request.options);
    return BackupOutcome::taken;
}

bool ProjectBackup::destinationIsUsable(const Path& toPath, const Preferences& preferences,
                                        bool partOfBatch) const {
    if (ZBFileManager::isDriveMountedForPath(toPath)) return true;
    logProblem("Unable to backup - destination drive not mounted.");
    if (!partOfBatch && preferences.wantsAlerts()) {
        ZBGrowl::postGrowlNotification("Project backup failed", "Drive is offline.", {},
                                       "Backup failed");
    }
    // docs/behaviour.md, fixed 9
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
