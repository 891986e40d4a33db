#include "foundation/Text.h"
#include "kit/ZBAuthorization.h"
#include "kit/ZBFileManager.h"
#include "kit/ZBLog.h"
#include "platform/Clock.h"
#include "platform/Console.h"
#include "platform/Files.h"
#include "platform/Platform.h"
#include "platform/Trash.h"

#include <cerrno>

namespace larkspan {
namespace {

constexpr Seconds expectationPoll{0.3};

platform::Platform& current() {
    return platform::Platform::current();
}

// Administrator rights mend a lack of rights, not a full disk or a file in the way.
bool mayAuthorize(const Error& error, ShouldAuth shouldAuth) {
    const bool rightsAreMissing =
        error.is(posixErrorDomain, EACCES) || error.is(posixErrorDomain, EPERM);
    return shouldAuth == ShouldAuth::yes && rightsAreMissing;
}

ZBAuthorization& authorization() {
    return ZBAuthorization::sharedController();
}

bool isThere(const Path& path) {
    return static_cast<bool>(current().files.linkInfo(path));
}

// Whether nothing has the name any more, not even a link that leads nowhere.
bool isGone(const Path& path) {
    const auto info = current().files.linkInfo(path);
    return !info && isMissing(info.error());
}

enum class Expected { present, gone };

// Whether the path is in the expected state, now or within the time-out.
bool waitUntil(const Path& path, Expected expected, std::chrono::seconds timeout) {
    const bool present = expected == Expected::present;
    platform::Clock& clock = current().clock;
    const Seconds start = clock.uptime();
    while (isThere(path) != present) {
        if (clock.uptime() - start >= timeout) return false;
        clock.sleepFor(expectationPoll);
    }
    return true;
}

// A rename that only changes case goes by way of another name, for file systems that take both
// names for the same.
bool renameByAnotherName(const Path& file, const Path& toPath) {
    platform::Files& files = current().files;
    const Path between = ZBFileManager::uniqueFilename(toPath);
    if (files.moveItem(file, between)) return false;
    if (!files.moveItem(between, toPath)) return true;
    (void)files.moveItem(between, file);
    return false;
}

}  // namespace

bool ZBFileManager::trashFile(const Path& file, ShouldAuth shouldAuth) {
    unlockFile(file);
    const auto error = current().trash.recycle(file);
    if (!error || isGone(file)) return true;
    return mayAuthorize(*error, shouldAuth) && authorization().authTrashFile(file);
}

bool ZBFileManager::removeFile(const Path& file, ShouldAuth shouldAuth) {
    unlockFile(file);
    const auto error = current().files.removeItem(file);
    if (!error || isGone(file)) return true;
    ZBLog::appendLog("Error removing file: %@. Authorizing...", error->description);
    return mayAuthorize(*error, shouldAuth) && authorization().authRemoveFile(file);
}

bool ZBFileManager::createDirectory(const Path& path, ShouldAuth shouldAuth) {
    if (!isDriveMountedForPath(path)) {
        current().console.report("Unable to create directory. Drive is not mounted.");
        return false;
    }
    const auto error = current().files.createFolder(path);
    if (!error) return true;
    ZBLog::appendLog("Error creating folder: %@. Authorizing...", error->description);
    return mayAuthorize(*error, shouldAuth) && authorization().authCreateDir(path);
}

bool ZBFileManager::copyFile(const Path& file, const Path& toPath, ShouldAuth shouldAuth) {
    if (file.empty()) {
        ZBLog::appendLogAndPrint("Error copying file: source path is nil");
        return false;
    }
    if (toPath.empty()) {
        ZBLog::appendLogAndPrint("Error copying file %@: destination path is nil", file);
        return false;
    }
    unlockFile(toPath.deletingLastPathComponent());
    const auto error = current().files.copyItem(file, toPath);
    if (!error) return true;
    ZBLog::appendLog("Error copying file: %@. Authorizing...", error->description);
    return mayAuthorize(*error, shouldAuth) && authorization().authCopyFile(file, toPath);
}

bool ZBFileManager::moveFile(const Path& file, const Path& toPath, ShouldAuth shouldAuth) {
    if (isThere(toPath)) {
        unlockFile(toPath);
        unlockFolder(toPath / file.lastPathComponent());
    }
    const bool onlyCaseChanges = lowercased(file.str()) == lowercased(toPath.str());
    if (onlyCaseChanges && renameByAnotherName(file, toPath)) return true;
    const auto error = current().files.moveItem(file, toPath);
    if (!error) return true;
    ZBLog::appendLog("Error moving file: %@.", error->description);
    if (shouldAuth == ShouldAuth::no) return false;
    ZBLog::appendLog("Authorizing...");
    return mayAuthorize(*error, shouldAuth) && authorization().authMoveFile(file, toPath);
}

bool ZBFileManager::trashFile(const Path& file, std::chrono::seconds timeout) {
    return trashFile(file) && waitUntil(file, Expected::gone, timeout);
}
bool ZBFileManager::removeFile(const Path& file, std::chrono::seconds timeout) {
    return removeFile(file) && waitUntil(file, Expected::gone, timeout);
}
// What the folder itself removed is gone. Anything else, a folder or a lock in the way, takes the
// longer road, which also says what is wrong.
bool ZBFileManager::removeFile(const Path& file, platform::Folder& fromFolder,
                               std::chrono::seconds timeout) {
    return !fromFolder.removeFile(file.lastPathComponent()) || removeFile(file, timeout);
}
bool ZBFileManager::createDirectory(const Path& path, std::chrono::seconds timeout) {
    return createDirectory(path) && waitUntil(path, Expected::present, timeout);
}
bool ZBFileManager::copyFile(const Path& file, const Path& toPath, std::chrono::seconds timeout) {
    return copyFile(file, toPath) && waitUntil(toPath, Expected::present, timeout);
}
bool ZBFileManager::moveFile(const Path& file, const Path& toPath, std::chrono::seconds timeout) {
    return moveFile(file, toPath) && waitUntil(file, Expected::gone, timeout);
}

}  // namespace larkspan
