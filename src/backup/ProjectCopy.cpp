#include "backup/ProjectCopy.h"

#include "kit/ZBFileManager.h"
#include "kit/ZBLocalPaths.h"
#include "kit/ZBLog.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <cerrno>

namespace larkspan {
namespace {

constexpr int attemptsOnChangingFile = 3;

platform::Files& files() {
    return platform::Platform::current().files;
}

Error silentSkip() {
    return {backupErrorDomain, 0, "nothing to back up"};
}

// An empty file is a save that has only begun, or none at all.
bool isEmptyProject(const Path& project) {
    const auto info = files().info(project);
    if (!info) return true;
    if (!info->isFolder()) return info->size == 0;
    const auto folder = files().openFolder(project);
    if (!folder) return true;
    const auto entries = (*folder)->entries();
    return !entries || entries->empty();
}

Path firstFreeName(const Path& project, const Path& folder, VersionNumber& number) {
    Path target = folder / versionCopyName(project, number);
    while (files().linkInfo(target)) {
        number = number.next();
        target = folder / versionCopyName(project, number);
    }
    return target;
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

std::optional<Error> ProjectCopy::backupProjectFile(const Path& project, const Path& toPath,
                                                    VersionNumber withNumber) {
    ZBLog::appendLog("Backing up project file %@ to %@...", project, toPath);
    const Path expanded = ZBLocalPaths::expandingTilde(project);
    if (isEmptyProject(expanded)) return silentSkip();
    if (auto error = files().createFolder(toPath)) {
        ZBLog::appendLog("Error creating directory structure: %@", error->description);
        return error;
    }
    const CurrentBackup current(state_, expanded);
    if (!current.entered()) {
        ZBLog::appendLog("Skipping backup for %@ because it's already in the backup queue.",
                         expanded);
        return silentSkip();
    }
    ZBFileManager::waitForFileWrites(expanded);
    files().removeAbandonedCopies(toPath);
    return copyUnderFreeName(expanded, toPath, withNumber);
}

std::optional<Error> ProjectCopy::copyUnderFreeName(const Path& project, const Path& folder,
                                                    VersionNumber number) {
    for (int attempt = 1;; ++attempt) {
        const Path target = firstFreeName(project, folder, number);
        auto error = files().copyItem(project, target);
        if (!error) {
            copyMade_(target);
            return std::nullopt;
        }
        // Another writer took the name in the meantime: the next one is tried, without a limit,
        // since every round means that a version was made.
        if (error->is(posixErrorDomain, EEXIST)) {
            --attempt;
            continue;
        }
        const bool changed =
            error->is(platform::filesErrorDomain, platform::sourceChangedDuringCopy);
        if (changed && attempt < attemptsOnChangingFile) {
            ZBFileManager::waitForFileWrites(project);
            continue;
        }
        // The arguments do not follow the words, on purpose: readers of old logs know it so.
        ZBLog::appendLog("Error copying project file %@ to %@: %@", error->description, project,
                         target);
        return error;
    }
}

}  // namespace larkspan
