#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"
#include "foundation/Result.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan::platform {

enum class EntryKind { file, folder, symbolicLink, other };

struct DirectoryEntry {
    std::string name;
    EntryKind kind = EntryKind::other;  // of the entry itself: links are not followed

    friend bool operator==(const DirectoryEntry&, const DirectoryEntry&) = default;
};

// Names a file system object for as long as it exists.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    friend auto operator<=>(const FileIdentity&, const FileIdentity&) = default;
};

struct FileInfo {
    EntryKind kind = EntryKind::other;
    std::uint64_t size = 0;  // bytes
    Date modificationDate;
    Date attributeChangeDate;  // set by the system at every change, cannot be set by programs
    unsigned permissions = 0;  // the low 12 mode bits
    unsigned owner = 0;        // user id
    FileIdentity identity;

    bool isFolder() const { return kind == EntryKind::folder; }
    bool isFile() const { return kind == EntryKind::file; }
};

struct DiskSpace {
    std::uint64_t total = 0;  // bytes
    std::uint64_t free = 0;   // bytes that this user may still write
};

// Whether an entry is wanted in a listing. Called for every entry but "." and ".." before it is
// copied or sorted, so that a large folder with few wanted entries costs little.
using EntryFilter = std::function<bool(std::string_view name, EntryKind kind)>;

// Whether a listing is to have its order; without it, it costs less.
enum class Sorted { no, yes };

// An open folder. Holds one descriptor until destroyed; used by one thread at a time. Names may be
// relative paths of several components.
class Folder {
  public:
    virtual ~Folder() = default;

    // The wanted entries (all without a filter), in listing order: case-insensitive name, then
    // bytes; not sorted, in any order. All of them or an error: half a listing could pass for the
    // whole.
    virtual Result<std::vector<DirectoryEntry>> entries(const EntryFilter& filter = {},
                                                        Sorted sorted = Sorted::yes) = 0;

    // A folder in this one, following a link.
    virtual Result<std::unique_ptr<Folder>> openFolder(const std::string& name) = 0;

    // Facts about an entry, following links. A dangling link is missing.
    virtual Result<FileInfo> info(const std::string& name) = 0;

    // Facts about the folder itself.
    virtual Result<FileInfo> info() = 0;

    // Content of a file in this folder, as Files::readFile.
    virtual Result<std::string> readFile(const std::string& name, size_t largestSize) = 0;

    // Removes a file or a link, in one call to the system. A folder stays and is an error, as is a
    // missing entry; for all that may be in the way there is Files::removeItem.
    virtual std::optional<Error> removeFile(const std::string& name) = 0;
};

// An open file that is written at its end. Closed when destroyed. One thread at a time.
class FileWriter {
  public:
    virtual ~FileWriter() = default;

    // Writes all of it with as few system calls as possible.
    virtual std::optional<Error> write(std::string_view bytes) = 0;
};

// Keeps others out for as long as it lives.
class FolderLock {
  public:
    virtual ~FolderLock() = default;
};

// Errors of these operations have posixErrorDomain with an errno value, which callers may test:
// EEXIST where something is in the way, ENOSPC for a full disk; isMissing() for missing things.
inline constexpr const char* filesErrorDomain = "FilesErrorDomain";

// Code in filesErrorDomain: the source of a copy changed while it was being copied.
inline constexpr long sourceChangedDuringCopy = 1;

// Copies, writes and removals under way have a name made of one of these and a UUID. They are
// nobody's files: listings give them, whoever looks for files to keep leaves them out.
inline constexpr std::string_view temporaryCopyPrefix = ".larkspan-copy-";
inline constexpr std::string_view temporaryWritePrefix = ".larkspan-write-";
inline constexpr std::string_view temporaryRemovalPrefix = ".larkspan-remove-";
bool isTemporaryItemName(std::string_view name);

// The file system. Every member may be called from any thread. An operation that gives an optional
// Error gives an empty one on success.
class Files {
  public:
    virtual ~Files() = default;

    // Following links.
    virtual Result<FileInfo> info(const Path& path) = 0;
    // Of the entry itself.
    virtual Result<FileInfo> linkInfo(const Path& path) = 0;
    // The absolute path of what is there, without links, "." and "..".
    virtual Result<Path> realPath(const Path& path) = 0;
    // False also where it cannot be told: for what may be created or copied, not for what may be
    // forgotten or removed.
    bool exists(const Path& path) { return static_cast<bool>(info(path)); }
    bool isFolder(const Path& path) {
        const auto facts = info(path);
        return facts && facts->isFolder();
    }

    // All entries in listing order (case-insensitive name, then bytes).
    virtual Result<std::vector<DirectoryEntry>> contentsOfFolder(const Path& folder) = 0;
    // ENOTDIR when it is not a folder.
    virtual Result<std::unique_ptr<Folder>> openFolder(const Path& folder) = 0;

    // At most `largestSize` bytes; a larger file gives EFBIG. Only regular files are read: a pipe
    // or device gives EINVAL rather than block.
    virtual Result<std::string> readFile(const Path& path, size_t largestSize) = 0;

    // Replaces the file whole or not at all: temporary name beside it, synced, renamed, the folder
    // synced. A file that is replaced keeps its permissions. Of a link, the file that it leads to
    // is written; the folder must exist.
    virtual std::optional<Error> writeFileAtomically(const Path& path, std::string_view bytes) = 0;

    // Opens an existing regular file for writing at its end.
    virtual Result<std::unique_ptr<FileWriter>> openForAppending(const Path& path) = 0;

    // With the folders above it where they are missing; an existing folder is a success.
    virtual std::optional<Error> createFolder(const Path& path) = 0;

    // Waits for the folder's lock, which one holder at a time has among all processes and threads
    // that ask for it; whoever does not ask is not held up. ETIMEDOUT when another has it for
    // longer than `patience`. Where the file system has no locks the one that is given keeps
    // nobody out.
    virtual Result<std::unique_ptr<FolderLock>> lockFolder(const Path& folder,
                                                           Seconds patience) = 0;

    // Copies a file or a whole folder tree to a path where nothing is. The copy appears under that
    // name whole or not at all, also when the process is killed or the disk fills up, and is on
    // disk when this returns: it is made under a hidden temporary name beside the target, synced,
    // and renamed without replacing (EEXIST when something is there by then). Times are kept to
    // the nanosecond, or rounded up to what the file system keeps; permissions too, extended
    // attributes as far as the file system of the target takes them; the owner is who copies. Links
    // inside a tree stay links; a link given as the source is followed. Devices, pipes and sockets
    // inside a tree are left out; as the source they give EINVAL, as does a folder that is to be
    // copied into itself. When the source changed while it was read, a tree anywhere in it, the
    // copy is dropped with sourceChangedDuringCopy.
    virtual std::optional<Error> copyItem(const Path& source, const Path& target) = 0;

    // Removes temporary items in the folder that a copy, write or removal of a process that no
    // longer runs left behind. Those in use by any process stay. Returns how many went.
    virtual int removeAbandonedCopies(const Path& folder) = 0;

    // Renames within a file system, without replacing (EEXIST).
    virtual std::optional<Error> moveItem(const Path& source, const Path& target) = 0;
    // Removes a file, a link or a whole tree. A missing item gives ENOENT. A tree goes whole: it
    // is first moved to a temporary name. Where something in it cannot be removed, what is left
    // goes back to its name.
    virtual std::optional<Error> removeItem(const Path& path) = 0;
    // Removes a folder that holds nothing, else ENOTEMPTY.
    virtual std::optional<Error> removeEmptyFolder(const Path& path) = 0;

    virtual std::optional<Error> setPermissions(const Path& path, unsigned permissions) = 0;
    // Rounded up where the file system does not keep it to the nanosecond.
    virtual std::optional<Error> setModificationDate(const Path& path, Date date) = 0;

    // The attribute that keeps an item from being changed, moved or removed, whatever its
    // permissions. An item, or a file system, without it is not locked. Links are not followed.
    virtual bool isLocked(const Path& path) = 0;
    virtual std::optional<Error> setLocked(const Path& path, bool locked) = 0;

    // As the process's effective user sees it, following links; false for missing things.
    virtual bool isWritable(const Path& path) = 0;
    virtual bool isExecutable(const Path& path) = 0;
    // Whether the entry could be removed or renamed: its folder allows it.
    virtual bool isDeletable(const Path& path) = 0;

    // The four-character type code of the Finder information: from the extended attribute, else
    // from the AppleDouble file beside it; empty when there is neither or it is all zero.
    virtual std::string typeCode(const Path& path) = 0;
    // Sets the type and creator codes, of four characters each, in the extended attribute;
    // EOPNOTSUPP where the file system has none.
    virtual std::optional<Error> setTypeAndCreator(const Path& path, const std::string& type,
                                                   const std::string& creator) = 0;

    // Whether two files hold the same bytes, two links lead to the same text, or two folders hold
    // the same names with equal contents all the way down. Sizes are looked at first, and nothing
    // is read beyond the first difference. False when anything is missing or cannot be read.
    virtual bool contentsEqual(const Path& one, const Path& other) = 0;

    // Space of the file system that holds the path; empty when it cannot be told.
    virtual std::optional<DiskSpace> diskSpace(const Path& path) = 0;
};

}  // namespace larkspan::platform
