#pragma once

#include "foundation/Digest.h"
#include "foundation/Path.h"
#include "foundation/Value.h"
#include "kit/FileCopy.h"
#include "platform/Archives.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

namespace platform {
class Folder;
}

enum class ShouldAuth { no, yes };
using platform::IncludeParent;

// Operations on files that log what goes wrong. No state; any thread.
class ZBFileManager {
  public:
    // ---- guarded operations ----
    //
    // Each is tried again with administrator rights where rights are what is missing and
    // `shouldAuth` allows it. With a time-out it then waits at most that long until what it was to
    // bring about is seen (operations with administrator rights go on after their return). A
    // missing item is as good as removed.

    // Moves an item to the user's Trash.
    [[nodiscard]] static bool trashFile(const Path& file, ShouldAuth shouldAuth = ShouldAuth::yes);
    [[nodiscard]] static bool trashFile(const Path& file, std::chrono::seconds timeout);

    // Removes an item with all that it holds.
    [[nodiscard]] static bool removeFile(const Path& file, ShouldAuth shouldAuth = ShouldAuth::yes);
    [[nodiscard]] static bool removeFile(const Path& file, std::chrono::seconds timeout);
    // The same by way of its open folder, which costs far less for a plain file.
    [[nodiscard]] static bool removeFile(const Path& file, platform::Folder& fromFolder,
                                         std::chrono::seconds timeout);

    // Creates a folder with those above it; an existing folder is a success. False when its volume
    // is not mounted.
    [[nodiscard]] static bool createDirectory(const Path& path,
                                              ShouldAuth shouldAuth = ShouldAuth::yes);
    [[nodiscard]] static bool createDirectory(const Path& path, std::chrono::seconds timeout);

    // Copies a file or folder to a path where nothing is. An empty path is none.
    [[nodiscard]] static bool copyFile(const Path& file, const Path& toPath,
                                       ShouldAuth shouldAuth = ShouldAuth::yes);
    [[nodiscard]] static bool copyFile(const Path& file, const Path& toPath,
                                       std::chrono::seconds timeout);

    // Moves or renames within a file system, to a path where nothing is; a rename may differ in
    // case alone.
    [[nodiscard]] static bool moveFile(const Path& file, const Path& toPath,
                                       ShouldAuth shouldAuth = ShouldAuth::yes);
    [[nodiscard]] static bool moveFile(const Path& file, const Path& toPath,
                                       std::chrono::seconds timeout);

    // ---- copying with progress ----

    // Copies one file to several destinations in one pass, on the caller's thread; what stands
    // there is replaced. With a verification every piece is read back where it was written and goes
    // into the destination's checksum. Afterwards the destinations get the source's dates and
    // permissions.
    //
    // True when the source was read to its size at the start or beyond. What could not be written
    // is reported on the system console, as everything here is, and does not end the copy,
    // deliberately: other destinations may be well. A checksum that differs goes to the delegate
    // alone. A cancelled copy leaves what was written.
    [[nodiscard]] static bool copyFileWithProgress(const Path& file,
                                                   const std::vector<Path>& destinations,
                                                   VerificationType verificationType,
                                                   FileCopyDelegate* delegate = nullptr,
                                                   const FileCopyObjects& objects = {});
    // To one destination, without verification.
    [[nodiscard]] static bool copyFileWithProgress(const Path& file, const Path& destination,
                                                   FileCopyDelegate* delegate = nullptr,
                                                   const FileCopyObjects& objects = {});

    // The checksum text of what a digest of that kind has taken in.
    static std::string md5HashWithContext(const Digest& context);
    static std::string sha1HashWithContext(const Digest& context);

    // ---- archives ----

    // Packs a file or folder into a zip archive; an archive that is there goes to the Trash first.
    [[nodiscard]] static bool compressFile(const Path& file, const Path& toDestinationFile,
                                           IncludeParent includeParent = IncludeParent::yes);
    // Unpacks an archive into a folder; what is there goes to the Trash first. An archive that
    // holds what could do harm, or is torn, leaves nothing there.
    [[nodiscard]] static bool decompressFile(const Path& file, const Path& toDestinationFolder);

    // ---- folders and names ----

    // Whether a folder holds nothing but folders that are empty in this sense and what file
    // browsers leave. An unreadable folder counts as empty.
    static bool isFolderEmpty(const Path& folder);
    // False when it is not empty or cannot be removed.
    [[nodiscard]] static bool removeFolderIfEmpty(const Path& folder);
    // Whether a name is one that file browsers leave: ".DS_Store", or "Icon" and a carriage
    // return, the folder's own icon.
    static bool isFolderDecoration(std::string_view name);

    // The path itself when nothing is there, else the first free of "Report 2.txt" and so on.
    static Path uniqueFilename(const Path& path);

    // Whether a folder shows as one file: its name ends in app, bundle, framework, plugin,
    // fcpbundle, fcpproject or fcpevent, in any case.
    static bool isFilePackage(const Path& path);

    // "512 B", "1.50 KB", "2.00 MB", "1.25 GB", by powers of 1024.
    static std::string formatFileSize(double size);

    // ---- waiting for other programs ----

    // Gives a file that is not there, or empty, half a millisecond; no more, whatever the
    // time-out, which callers must not rely on.
    static void waitForFileCreation(const Path& file, std::chrono::seconds timeout);

    // Waits while a file is being written: while its modification date lies less than 4 seconds
    // in the past. With the name of a lock file, also logs when such a file stands beside it.
    // A date in the future counts as fresh until it has not changed for 4 seconds, and a file that
    // never comes to rest is given up after 10 minutes, so that the caller is never held for good.
    static void waitForFileWrites(const Path& path, const std::string& lockFile = {});

    // ---- attributes ----

    // The attribute that keeps an item from being changed or removed. Failures are logged.
    static bool isFileLocked(const Path& file);
    static void lockFile(const Path& file);
    static void unlockFile(const Path& file);
    // Every file in the folder at any depth; folders themselves are left alone.
    static void lockFolder(const Path& folder);
    static void unlockFolder(const Path& folder);

    // A failure is logged.
    static void setPosixPermissions(unsigned permissions, const Path& forFile);

    // ---- volumes ----

    // The facts of a mounted volume under the keys MountPoint, DeviceNode, VolumeName,
    // FilesystemType, TotalSize and FreeSpace (bytes), WritableVolume, RemovableMedia; nothing for
    // what is no mount point.
    static std::optional<Value::Dictionary> infoForDiskAtMountpoint(const Path& mountPoint);

    // False when the path lies on a volume that is not mounted: below a volumes folder without its
    // volume, or on a configured mount point that is not mounted.
    static bool isVolumeMountedForPath(const Path& path);
    // The same, and names the mount point on the system console.
    static bool isDriveMountedForPath(const Path& path);
};

}  // namespace larkspan
