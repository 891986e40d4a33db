#include "backup/ProjectCopy.h"

#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <cerrno>

namespace larkspan {
namespace {

platform::Files& files() {
    return platform::Platform::current().files;
}

Error silentSkip() {
    return {backupErrorDomain, 0, "nothing to back up"};
}

// An empty file is a save that has only begun, or none at all.
Result<bool> isEmptyProject(const Path& project) {
    const auto info = files().info(project);
    if (!info && isMissing(info.error())) return true;
    if (!info) return info.error();
    if (!info->isFolder()) return info->size == 0;
    const auto entries = files().contentsOfFolder(project);
    if (!entries) return entries.error();
    return entries->empty();
}

Path firstFreeName(const Path& project, const Path& folder, VersionNumber& number) {
    Path target = folder / versionCopyName(project, number);
    while (files().linkInfo(target)) {
        number = number.next();
        target = folder / versionCopyName(project, number);
    }
    return target;
}

Error copyFailed(const Error& error, const Path& project, const Path& target) {
    // docs/behaviour.md, fixed 8
    ZBLog::appendLog("Error copying project file %@ to %@: %@", error.description, project, target);
    return error;
}

Result<Path> copyUnderFreeName(const Path& project, const Path& folder, VersionNumber number) {
    for (;;) {
        const Path target = firstFreeName(project, folder, number);
        const auto error = files().copyItem(project, target);
        if (!error) return target;
        // Another writer took the name in the meantime: the next one is tried, without a limit,
        // since every round means that a version was made.
        if (error->is(posixErrorDomain, EEXIST)) continue;
        return isStillBeingWritten(*error) ? *error : copyFailed(*error, project, target);
    }
}

// Takes the path off the list of running backups, however the copy ends.
class CurrentBackup {
  public:
    CurrentBackup(EngineState& state, const Path& path) : state_(state), path_(path) {
        entered_ =
            state.currentBackups.with([&](auto& paths) { return paths.insert(path).second; });
    }
    CurrentBackup(const CurrentBackup&) = delete;
    CurrentBackup& operator=(const CurrentBackup&) = delete;
    ~CurrentBackup() {
        if (entered_) state_.currentBackups.with([&](auto& paths) { paths.erase(path_); });
    }
    bool entered() const { return entered_; }

  private:
    EngineState& state_;
    const Path& path_;
    bool entered_ = false;
};

}  // namespace

Result<Path> ProjectCopy::backupProjectFile(const Path& project, const Path& toPath,
                                            VersionNumber withNumber) {
    ZBLog::appendLog("Backing up project file %@ to %@...", project, toPath);
    const Path expanded = ZBLocalPaths::expandingTilde(project);
    const Result<bool> isEmpty = isEmptyProject(expanded);
    if (!isEmpty) return copyFailed(isEmpty.error(), expanded, toPath);
    if (*isEmpty) return silentSkip();
    if (auto error = files().createFolder(toPath)) {
        ZBLog::appendLog("Error creating directory structure: %@", error->description);
        return *error;
    }
    const CurrentBackup current(state_, expanded);
    if (!current.entered()) {
        ZBLog::appendLog("Skipping backup for %@ because it's already in the backup queue.",
                         expanded);
        return silentSkip();
    }
    files().removeAbandonedCopies(toPath);
    return copyUnderFreeName(expanded, toPath, withNumber);
}

}  // namespace larkspan
