#include "kit/ZBFileManager.h"

#include "foundation/Text.h"
#include "kit/ZBLog.h"
#include "platform/Console.h"
#include "platform/Files.h"
#include "platform/Platform.h"
#include "platform/Volumes.h"

#include <algorithm>
#include <array>
#include <functional>
#include <vector>

namespace larkspan {
namespace {

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

// The text speaks of unlocking also when it was to be locked, deliberately: readers of the log know
// it so.
void setLocked(const Path& file, bool locked) {
    if (const auto error = current().files.setLocked(file, locked)) {
        ZBLog::fastAppendLog("Unable to unlock file %@: %@", file, error->description);
    }
}

void forEachFileBelow(const Path& folder, const std::function<void(const Path&)>& visit) {
    std::vector<Path> waiting{folder};
    while (!waiting.empty()) {
        const Path next = std::move(waiting.back());
        waiting.pop_back();
        const auto entries = current().files.contentsOfFolder(next);
        if (!entries) continue;
        for (const platform::DirectoryEntry& entry : *entries) {
            if (entry.kind == platform::EntryKind::folder) waiting.push_back(next / entry.name);
            if (entry.kind == platform::EntryKind::file) visit(next / entry.name);
        }
    }
}

}  // namespace

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

bool ZBFileManager::isFilePackage(const Path& path) {
    constexpr std::array packages = {"app",       "bundle",     "framework", "plugin",
                                     "fcpbundle", "fcpproject", "fcpevent",  "fcpxmld"};
    const std::string extension = lowercased(path.pathExtension());
    return std::find(packages.begin(), packages.end(), extension) != packages.end();
}

bool ZBFileManager::isFolderDecoration(std::string_view name) {
    return name == ".DS_Store" || name == "Icon\r";
}

bool ZBFileManager::isFolderEmpty(const Path& folder) {
    std::vector<Path> waiting{folder};
    while (!waiting.empty()) {
        const Path next = std::move(waiting.back());
        waiting.pop_back();
        const auto entries = current().files.contentsOfFolder(next);
        if (!entries) continue;
        for (const platform::DirectoryEntry& entry : *entries) {
            if (isFolderDecoration(entry.name)) continue;
            if (entry.kind != platform::EntryKind::folder) return false;
            waiting.push_back(next / entry.name);
        }
    }
    return true;
}

bool ZBFileManager::removeFolderIfEmpty(const Path& folder) {
    return isFolderEmpty(folder) && removeFile(folder);
}

Path ZBFileManager::uniqueFilename(const Path& path) {
    Path unique = path;
    const std::string extension = path.pathExtension();
    for (long number = 2; current().files.linkInfo(unique); ++number) {
        const Path name(messageText("%@ %li", path.deletingPathExtension(), number));
        unique = extension.empty() ? name : name.appendingPathExtension(extension);
    }
    return unique;
}

std::string ZBFileManager::formatFileSize(double size) {
    constexpr double kilobyte = 1024;
    constexpr double megabyte = kilobyte * 1024;
    constexpr double gigabyte = megabyte * 1024;
    if (size < kilobyte) return messageText("%0.0f B", size);
    if (size < megabyte) return messageText("%0.2f KB", size / kilobyte);
    if (size < gigabyte) return messageText("%0.2f MB", size / megabyte);
    return messageText("%0.2f GB", size / gigabyte);
}

bool ZBFileManager::isFileLocked(const Path& file) {
    return current().files.isLocked(file);
}

void ZBFileManager::lockFile(const Path& file) {
    setLocked(file, true);
}

// What is not locked is not touched.
void ZBFileManager::unlockFile(const Path& file) {
    if (isFileLocked(file)) setLocked(file, false);
}

void ZBFileManager::lockFolder(const Path& folder) {
    forEachFileBelow(folder, lockFile);
}

void ZBFileManager::unlockFolder(const Path& folder) {
    forEachFileBelow(folder, unlockFile);
}

std::optional<Value::Dictionary> ZBFileManager::infoForDiskAtMountpoint(const Path& mountPoint) {
    const auto facts = current().volumes.factsOfVolume(mountPoint);
    if (!facts) return std::nullopt;
    return Value::Dictionary{{"MountPoint", facts->mountPoint.str()},
                             {"DeviceNode", facts->device},
                             {"VolumeName", facts->name},
                             {"FilesystemType", facts->fileSystemType},
                             {"TotalSize", facts->totalSize},
                             {"FreeSpace", facts->freeSpace},
                             {"WritableVolume", facts->isWritable},
                             {"RemovableMedia", facts->isRemovable}};
}

}  // namespace larkspan
