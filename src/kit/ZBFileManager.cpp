#include "kit/ZBFileManager.h"

#include "foundation/Text.h"
#include "kit/ZBAuthorization.h"
#include "kit/ZBLog.h"
#include "platform/Clock.h"
#include "platform/Console.h"
#include "platform/Files.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"
#include "platform/Volumes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

namespace larkspan {
namespace {

constexpr Seconds beingWritten{4.0};
constexpr Seconds writePoll = std::chrono::microseconds(500);
constexpr Seconds longestWriteWait = std::chrono::minutes(10);
constexpr Seconds expectationPoll{0.3};

platform::Platform& current() {
    return platform::Platform::current();
}

// The mount point that a path below a volumes folder needs: that folder and one component more.
std::optional<Path> neededMountPoint(const Path& path) {
    for (const Path& folder : current().volumes.volumesFolders()) {
        if (!path.hasPrefix(folder.str() + "/")) continue;
        const std::string rest = path.str().substr(folder.str().size());
        const std::vector<std::string> components = Path(rest).pathComponents();
        if (components.size() < 2) return std::nullopt;
        return folder / components[1];
    }
    return std::nullopt;
}

bool rightsAreMissing(const Error& error) {
    return error.is(posixErrorDomain, EACCES) || error.is(posixErrorDomain, EPERM);
}

// A file is at rest when it is gone, or when its date is old enough.
bool isBeingWritten(const Path& path) {
    const auto info = current().files.info(path);
    return info && secondsBetween(info->modificationDate, current().clock.now()) < beingWritten;
}

enum class WriteWait { finished, givenUp };

WriteWait waitUntilAtRest(const Path& path) {
    platform::Clock& clock = current().clock;
    const Seconds start = clock.uptime();
    Seconds lastChange = start;
    Date lastDate;
    while (isBeingWritten(path)) {
        const auto info = current().files.info(path);
        if (info && info->modificationDate != lastDate) {
            lastDate = info->modificationDate;
            lastChange = clock.uptime();
        }
        if (clock.uptime() - lastChange > beingWritten) return WriteWait::finished;
        if (clock.uptime() - start > longestWriteWait) return WriteWait::givenUp;
        clock.sleepFor(writePoll);
    }
    return WriteWait::finished;
}

}  // namespace

bool ZBFileManager::createDirectory(const Path& path, ShouldAuth shouldAuth) {
    if (!isDriveMountedForPath(path)) {
        current().console.report("Unable to create directory. Drive is not mounted.");
        return false;
    }
    const auto error = current().files.createFolder(path);
    if (!error) return true;
    ZBLog::appendLog("Error creating folder: %@. Authorizing...", error->description);
    // Administrator rights mend a lack of rights, not a full disk or a file in the way.
    if (shouldAuth == ShouldAuth::no || !rightsAreMissing(*error)) return false;
    return ZBAuthorization::sharedController().authCreateDir(path);
}

bool ZBFileManager::createDirectory(const Path& path, std::chrono::seconds timeout) {
    if (!createDirectory(path)) return false;
    platform::Clock& clock = current().clock;
    const Seconds start = clock.uptime();
    while (!current().files.exists(path) && clock.uptime() - start < timeout) {
        clock.sleepFor(expectationPoll);
    }
    return current().files.exists(path);
}

bool ZBFileManager::isVolumeMountedForPath(const Path& path) {
    if (current().volumes.isOnUnmountedVolume(path)) return false;
    const auto mountPoint = neededMountPoint(path);
    return !mountPoint || current().files.exists(*mountPoint);
}

bool ZBFileManager::isDriveMountedForPath(const Path& path) {
    if (const auto mountPoint = neededMountPoint(path)) {
        // Two slashes at the start: the root counts as a component when the parts are joined.
        current().console.report(messageText("mountpoint: /%@", *mountPoint));
    }
    return isVolumeMountedForPath(path);
}

void ZBFileManager::setPosixPermissions(unsigned permissions, const Path& forFile) {
    if (const auto error = current().files.setPermissions(forFile, permissions)) {
        ZBLog::appendLog("Error setting permissions for file %@: %@", forFile, error->description);
    }
}

void ZBFileManager::waitForFileWrites(const Path& path, const std::string& lockFile) {
    const bool locked =
        !lockFile.empty() && current().files.exists(path.deletingLastPathComponent() / lockFile);
    if (!isBeingWritten(path) && !locked) return;
    ZBLog::appendLog("File %@ is currently being written to. Waiting...", path);
    if (waitUntilAtRest(path) == WriteWait::finished) {
        ZBLog::appendLog("File %@ finished writing.", path);
    } else {
        ZBLog::appendLog("File %@ is still being written to. Going on without waiting.", path);
    }
}

bool ZBFileManager::isFilePackage(const Path& path) {
    constexpr std::array packages = {"app",       "bundle",     "framework", "plugin",
                                     "fcpbundle", "fcpproject", "fcpevent"};
    const std::string extension = lowercased(path.pathExtension());
    return std::find(packages.begin(), packages.end(), extension) != packages.end();
}

}  // namespace larkspan
