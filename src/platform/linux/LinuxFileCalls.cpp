#include "platform/linux/LinuxFileCalls.h"

#include "foundation/Text.h"
#include "platform/posix/SystemCall.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include <dirent.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

// Since 6.13 a look at a file's dates makes the next change of it get a date of its own.
bool kernelTellsEveryChange() {
    static const bool tells = [] {
        struct utsname system {};
        if (::uname(&system) != 0) return false;
        const std::string release = system.release;
        const long major = integerValue(release);
        const size_t dot = release.find('.');
        const long minor = dot == release.npos ? 0 : integerValue(release.substr(dot + 1));
        return major > 6 || (major == 6 && minor >= 13);
    }();
    return tells;
}

// File systems without attributes answer in many ways.
int attributeProblem(int errorNumber) {
    const bool isMissing = errorNumber == ENOTTY || errorNumber == ENOSYS || errorNumber == EINVAL;
    return isMissing ? EOPNOTSUPP : errorNumber;
}

// Calls `get(buffer, size)` with room for what it gives; empty when it fails.
template <class Get>
std::optional<std::string> sizedAttribute(Get get) {
    for (;;) {
        const ssize_t size = get(nullptr, 0);
        if (size < 0) return {};
        std::string value(static_cast<size_t>(size), '\0');
        if (size == 0) return value;
        const ssize_t got = get(value.data(), value.size());
        if (got < 0 && errno == ERANGE) continue;  // it grew in between
        if (got < 0) return {};
        value.resize(static_cast<size_t>(got));
        return value;
    }
}

}  // namespace

int LinuxFileCalls::listFolder(int folder, const EntryFilter& filter,
                               std::vector<DirectoryEntry>& found) const {
    alignas(dirent64) std::array<char, 32768> buffer;
    for (;;) {
        const ssize_t size =
            retrying([&] { return ::getdents64(folder, buffer.data(), buffer.size()); });
        if (size <= 0) return size == 0 ? 0 : errno;
        for (ssize_t at = 0; at < size;) {
            const auto* entry = reinterpret_cast<const dirent64*>(buffer.data() + at);
            addListedEntry(folder, entry->d_name, entry->d_type, filter, found);
            at += entry->d_reclen;
        }
    }
}

int LinuxFileCalls::cloneFile(int source, int target) const {
    return retrying([&] { return ::ioctl(target, FICLONE, source); }) == 0 ? 0 : errno;
}

int LinuxFileCalls::copyRange(int source, int target, size_t size, size_t& copied) const {
    // In pieces, each handed to the disk at once, so that the sync at the end has less to wait for.
    constexpr size_t piece = 8UL * 1024 * 1024;
    copied = 0;
    const ssize_t count = retrying([&] {
        return ::copy_file_range(source, nullptr, target, nullptr, std::min(size, piece), 0);
    });
    if (count < 0) return errno;
    copied = static_cast<size_t>(count);
    if (copied == piece) (void)::sync_file_range(target, 0, 0, SYNC_FILE_RANGE_WRITE);
    return 0;
}

int LinuxFileCalls::renameWithoutReplacing(int sourceFolder, const char* source, int targetFolder,
                                           const char* target) const {
    return ::renameat2(sourceFolder, source, targetFolder, target, RENAME_NOREPLACE) == 0 ? 0
                                                                                          : errno;
}

bool LinuxFileCalls::isImmutable(const char* path) const {
    struct statx facts {};
    if (::statx(AT_FDCWD, path, AT_SYMLINK_NOFOLLOW, 0, &facts) != 0) return false;
    return (facts.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0;
}

int LinuxFileCalls::setImmutable(const char* path, bool immutable) const {
    const FileDescriptor item = openAt(AT_FDCWD, path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    int flags = 0;
    if (!item || ::ioctl(item.get(), FS_IOC_GETFLAGS, &flags) != 0) return attributeProblem(errno);
    constexpr int locks = FS_IMMUTABLE_FL | FS_APPEND_FL;
    flags = immutable ? flags | FS_IMMUTABLE_FL : flags & ~locks;
    return ::ioctl(item.get(), FS_IOC_SETFLAGS, &flags) == 0 ? 0 : attributeProblem(errno);
}

bool LinuxFileCalls::datesTellEveryChange(int descriptor) const {
    constexpr std::array<unsigned, 4> fileSystems{0xEF53,       // ext4
                                                  0x58465342,   // xfs
                                                  0x9123683E,   // btrfs
                                                  0x01021994};  // tmpfs
    struct statfs facts {};
    if (!kernelTellsEveryChange() || ::fstatfs(descriptor, &facts) != 0) return false;
    const auto type = static_cast<unsigned>(facts.f_type);
    return std::find(fileSystems.begin(), fileSystems.end(), type) != fileSystems.end();
}

std::vector<std::string> LinuxFileCalls::attributeNames(int descriptor) const {
    const auto list = sizedAttribute(
        [&](char* buffer, size_t size) { return ::flistxattr(descriptor, buffer, size); });
    if (!list || list->empty()) return {};
    std::vector<std::string> names = split(*list, '\0');
    names.pop_back();  // every name ends in a zero byte
    return names;
}

std::optional<std::string> LinuxFileCalls::attribute(int descriptor, const char* name) const {
    return sizedAttribute(
        [&](char* buffer, size_t size) { return ::fgetxattr(descriptor, name, buffer, size); });
}

std::optional<std::string> LinuxFileCalls::attributeOfPath(const char* path,
                                                           const char* name) const {
    return sizedAttribute(
        [&](char* buffer, size_t size) { return ::getxattr(path, name, buffer, size); });
}

int LinuxFileCalls::setAttribute(int descriptor, const char* name, const std::string& value) const {
    return ::fsetxattr(descriptor, name, value.data(), value.size(), 0) == 0 ? 0 : errno;
}

}  // namespace larkspan::platform
