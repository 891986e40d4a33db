#include "platform/posix/FileCalls.h"

#include "platform/posix/FileFacts.h"
#include "platform/posix/SystemCall.h"

#include <cstdio>
#include <memory>

#include <dirent.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

EntryKind kindOfEntry(int folder, const char* name, unsigned char type) {
    switch (type) {
        case DT_REG:
            return EntryKind::file;
        case DT_DIR:
            return EntryKind::folder;
        case DT_LNK:
            return EntryKind::symbolicLink;
        case DT_UNKNOWN: {
            const auto status = statusAt(folder, name, AT_SYMLINK_NOFOLLOW);
            return status ? kindOfMode(status->st_mode) : EntryKind::other;
        }
        default:
            return EntryKind::other;
    }
}

bool isDotOrDotDot(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

}  // namespace

void addListedEntry(int folder, const char* name, unsigned char type, const EntryFilter& filter,
                    std::vector<DirectoryEntry>& found) {
    if (isDotOrDotDot(name)) return;
    const EntryKind kind = kindOfEntry(folder, name, type);
    if (!filter || filter(name, kind)) found.push_back({name, kind});
}

int FileCalls::listFolder(int folder, const EntryFilter& filter,
                          std::vector<DirectoryEntry>& found) const {
    FileDescriptor own(retrying([&] { return ::fcntl(folder, F_DUPFD_CLOEXEC, 0); }));
    if (!own) return errno;
    struct Close {
        void operator()(DIR* stream) const { ::closedir(stream); }
    };
    const std::unique_ptr<DIR, Close> stream(::fdopendir(own.get()));
    if (!stream) return errno;
    (void)own.release();
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(stream.get());  // NOLINT(concurrency-mt-unsafe)
        if (!entry) return errno;
        addListedEntry(folder, entry->d_name, entry->d_type, filter, found);
    }
}

int FileCalls::cloneFile(int, int) const {
    return EOPNOTSUPP;
}

int FileCalls::copyRange(int, int, size_t, size_t& copied) const {
    copied = 0;
    return EOPNOTSUPP;
}

int FileCalls::renameWithoutReplacing(int, const char*, int, const char*) const {
    return EOPNOTSUPP;
}

int FileCalls::sync(int descriptor) const {
    return retrying([&] { return ::fsync(descriptor); }) == 0 ? 0 : errno;
}

int FileCalls::setDates(int folder, const char* name, const std::array<timespec, 2>& times) const {
    const int result =
        name ? ::utimensat(folder, name, times.data(), 0) : ::futimens(folder, times.data());
    return result == 0 ? 0 : errno;
}

int FileCalls::setImmutable(const char*, bool) const {
    return EOPNOTSUPP;
}

bool FileCalls::isImmutable(const char*) const {
    return false;
}

bool FileCalls::datesTellEveryChange(int) const {
    return false;
}

std::vector<std::string> FileCalls::attributeNames(int) const {
    return {};
}

std::optional<std::string> FileCalls::attribute(int, const char*) const {
    return {};
}

std::optional<std::string> FileCalls::attributeOfPath(const char*, const char*) const {
    return {};
}

int FileCalls::setAttribute(int, const char*, const std::string&) const {
    return EOPNOTSUPP;
}

int moveWithoutReplacing(const FileCalls& calls, int sourceFolder, const char* source,
                         int targetFolder, const char* target) {
    const int refused = calls.renameWithoutReplacing(sourceFolder, source, targetFolder, target);
    if (refused != EINVAL && refused != ENOSYS && refused != EOPNOTSUPP) return refused;
    const auto status = statusAt(sourceFolder, source, AT_SYMLINK_NOFOLLOW);
    if (!status) return errno;
    if (!S_ISDIR(status->st_mode)) {
        if (::linkat(sourceFolder, source, targetFolder, target, 0) == 0) {
            return ::unlinkat(sourceFolder, source, 0) == 0 ? 0 : errno;
        }
        if (errno != EPERM && errno != EOPNOTSUPP && errno != EMLINK) return errno;
    }
    if (statusAt(targetFolder, target, AT_SYMLINK_NOFOLLOW)) return EEXIST;
    return ::renameat(sourceFolder, source, targetFolder, target) == 0 ? 0 : errno;
}

}  // namespace larkspan::platform
