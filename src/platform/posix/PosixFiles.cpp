#include "platform/posix/PosixFiles.h"

#include "platform/FinderInfo.h"
#include "platform/posix/AdvisoryLock.h"
#include "platform/posix/ContentComparison.h"
#include "platform/posix/FileContents.h"
#include "platform/posix/FileDates.h"
#include "platform/posix/FileFacts.h"
#include "platform/posix/PosixFolder.h"
#include "platform/posix/SystemCall.h"
#include "platform/posix/TemporaryItem.h"
#include "platform/posix/TreeCopy.h"
#include "platform/posix/TreeRemoval.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <sys/statvfs.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

Result<FileInfo> infoAt(const Path& path, int flags) {
    const auto status = statusAt(AT_FDCWD, systemName(path), flags);
    if (!status) return posixError(errno, path.str());
    return infoFromStat(*status);
}

// The error of a call that has just failed or not.
std::optional<Error> outcome(int result, const std::string& doing) {
    if (result == 0) return {};
    return posixError(errno, doing);
}

bool isAllowed(const char* path, int access) {
    return ::faccessat(AT_FDCWD, path, access, AT_EACCESS) == 0;
}

class HeldLock final : public FolderLock {
  public:
    explicit HeldLock(FileDescriptor folder) : folder_(std::move(folder)) {}

  private:
    FileDescriptor folder_;
};

// In a folder with the sticky bit only the owners of the entry and of the folder may remove it.
bool stickyBitForbids(const struct stat& folder, const struct stat& entry) {
    const uid_t user = ::geteuid();
    return (folder.st_mode & S_ISVTX) != 0 && user != 0 && user != folder.st_uid &&
           user != entry.st_uid;
}

}  // namespace

PosixFiles::PosixFiles(const FileCalls& calls) : calls_(calls) {
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    (void)::sigaction(SIGXFSZ, &ignore, nullptr);
}

Result<FileInfo> PosixFiles::info(const Path& path) {
    return infoAt(path, 0);
}

Result<FileInfo> PosixFiles::linkInfo(const Path& path) {
    return infoAt(path, AT_SYMLINK_NOFOLLOW);
}

Result<Path> PosixFiles::realPath(const Path& path) {
    const std::unique_ptr<char, void (*)(void*)> real(::realpath(systemName(path), nullptr),
                                                      std::free);
    if (!real) return posixError(errno, path.str());
    return Path(real.get());
}

Result<std::vector<DirectoryEntry>> PosixFiles::contentsOfFolder(const Path& path) {
    const FileDescriptor folder = openFolderAt(AT_FDCWD, systemName(path));
    if (!folder) return posixError(errno, "listing " + path.str());
    std::vector<DirectoryEntry> found;
    if (const int failed = calls_.listFolder(folder.get(), {}, found)) {
        return posixError(failed, "listing " + path.str());
    }
    sortListing(found);
    return found;
}

Result<std::unique_ptr<Folder>> PosixFiles::openFolder(const Path& path) {
    FileDescriptor folder = openFolderAt(AT_FDCWD, systemName(path));
    if (!folder) return posixError(errno, "opening folder " + path.str());
    return std::unique_ptr<Folder>(std::make_unique<PosixFolder>(calls_, std::move(folder)));
}

Result<std::string> PosixFiles::readFile(const Path& path, size_t largestSize) {
    return readFileAt(AT_FDCWD, systemName(path), largestSize, "reading " + path.str());
}

std::optional<Error> PosixFiles::writeFileAtomically(const Path& path, std::string_view bytes) {
    return replaceFile(calls_, path, bytes);
}

Result<std::unique_ptr<FileWriter>> PosixFiles::openForAppending(const Path& path) {
    return openFileForAppending(path);
}

std::optional<Error> PosixFiles::createFolder(const Path& path) {
    const std::string doing = "creating folder " + path.str();
    if (*systemName(path) == '\0') return posixError(ENOENT, doing);
    const std::string& text = path.str();
    // Mostly only the last is missing.
    if (::mkdir(text.c_str(), 0777) == 0) return {};
    for (size_t end = 0; end != text.npos;) {
        end = text.find('/', end + 1);
        const std::string above = text.substr(0, end);
        if (::mkdir(above.c_str(), 0777) == 0 || errno == EEXIST || isFolder(Path(above))) continue;
        return posixError(errno, doing);
    }
    return isFolder(path) ? std::optional<Error>() : posixError(EEXIST, doing);
}

Result<std::unique_ptr<FolderLock>> PosixFiles::lockFolder(const Path& folder, Seconds patience) {
    const std::string doing = "locking folder " + folder.str();
    FileDescriptor opened = openFolderAt(AT_FDCWD, systemName(folder));
    if (!opened) return posixError(errno, doing);
    if (takeLock(opened.get(), patience) == EWOULDBLOCK) return posixError(ETIMEDOUT, doing);
    return std::unique_ptr<FolderLock>(std::make_unique<HeldLock>(std::move(opened)));
}

std::optional<Error> PosixFiles::copyItem(const Path& source, const Path& target) {
    return copyPath(calls_, source, target);
}

int PosixFiles::removeAbandonedCopies(const Path& folder) {
    return removeAbandonedItems(calls_, folder);
}

std::optional<Error> PosixFiles::moveItem(const Path& source, const Path& target) {
    const int failed =
        moveWithoutReplacing(calls_, AT_FDCWD, systemName(source), AT_FDCWD, systemName(target));
    if (failed == 0) return {};
    return posixError(failed, "moving " + source.str() + " to " + target.str());
}

std::optional<Error> PosixFiles::removeItem(const Path& path) {
    return removePath(calls_, path);
}

std::optional<Error> PosixFiles::removeEmptyFolder(const Path& path) {
    return outcome(::rmdir(systemName(path)), "removing folder " + path.str());
}

std::optional<Error> PosixFiles::setPermissions(const Path& path, unsigned permissions) {
    return outcome(::chmod(systemName(path), static_cast<mode_t>(permissions & 07777)),
                   "setting permissions of " + path.str());
}

std::optional<Error> PosixFiles::setModificationDate(const Path& path, Date date) {
    std::array<timespec, 2> times{};
    times[0].tv_nsec = UTIME_OMIT;
    times[1] = timespecFromDate(date);
    const int failed = setDatesRoundedUp(calls_, AT_FDCWD, systemName(path), times);
    if (failed == 0) return {};
    return posixError(failed, "setting the modification date of " + path.str());
}

bool PosixFiles::isLocked(const Path& path) {
    return calls_.isImmutable(systemName(path));
}

std::optional<Error> PosixFiles::setLocked(const Path& path, bool locked) {
    const int failed = calls_.setImmutable(systemName(path), locked);
    if (failed == 0) return {};
    return posixError(failed, (locked ? "locking " : "unlocking ") + path.str());
}

bool PosixFiles::isWritable(const Path& path) {
    return isAllowed(systemName(path), W_OK);
}

bool PosixFiles::isExecutable(const Path& path) {
    return isAllowed(systemName(path), X_OK);
}

bool PosixFiles::isDeletable(const Path& path) {
    const Path folder = path.deletingLastPathComponent();
    const char* above = folder.empty() ? "." : systemName(folder);
    const auto entry = statusAt(AT_FDCWD, systemName(path), AT_SYMLINK_NOFOLLOW);
    const auto facts = statusAt(AT_FDCWD, above, 0);
    return entry && facts && isAllowed(above, W_OK | X_OK) && !stickyBitForbids(*facts, *entry) &&
           !calls_.isImmutable(systemName(path)) && !calls_.isImmutable(above);
}

std::string PosixFiles::typeCode(const Path& path) {
    return typeCodeOfFile(*this, path,
                          calls_.attributeOfPath(systemName(path), finderInfoAttribute));
}

std::optional<Error> PosixFiles::setTypeAndCreator(const Path& path, const std::string& type,
                                                   const std::string& creator) {
    const std::string doing = "setting the type of " + path.str();
    const FileDescriptor file = openAt(AT_FDCWD, systemName(path), O_RDONLY | O_NONBLOCK);
    if (!file) return posixError(errno, doing);
    const auto old = calls_.attribute(file.get(), finderInfoAttribute);
    const int failed = calls_.setAttribute(file.get(), finderInfoAttribute,
                                           finderInfoWithCodes(old ? *old : "", type, creator));
    if (failed != 0) return posixError(failed, doing);
    return {};
}

bool PosixFiles::contentsEqual(const Path& one, const Path& other) {
    return platform::contentsEqual(one, other);
}

std::optional<DiskSpace> PosixFiles::diskSpace(const Path& path) {
    struct statvfs facts {};
    if (retrying([&] { return ::statvfs(systemName(path), &facts); }) != 0) return {};
    return DiskSpace{.total = std::uint64_t{facts.f_frsize} * facts.f_blocks,
                     .free = std::uint64_t{facts.f_frsize} * facts.f_bavail};
}

}  // namespace larkspan::platform
