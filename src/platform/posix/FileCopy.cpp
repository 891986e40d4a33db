#include "platform/posix/FileCopy.h"

#include "platform/posix/FileContents.h"
#include "platform/posix/FileDates.h"
#include "platform/posix/FileFacts.h"
#include "platform/posix/SystemCall.h"

#include <array>
#include <thread>
#include <vector>

#include <unistd.h>

namespace larkspan::platform {
namespace {

constexpr size_t bufferSize = 1024UL * 1024;

// What a way of copying says when it cannot do this at all, so that the next one is to be tried.
bool isRefusal(int failed) {
    return failed == EOPNOTSUPP || failed == ENOTSUP || failed == ENOSYS || failed == EXDEV ||
           failed == EINVAL || failed == EPERM || failed == ENOTTY;
}

// Dates advance in ticks of the system's clock. A file changed within the present tick can change
// again without its date telling, so its next tick is waited for, once.
void waitUntilDateTells(const FileCalls& calls, OpenSource& source) {
    constexpr auto tick = std::chrono::milliseconds(10);
    const auto age = std::chrono::system_clock::now() - dateFromTimespec(source.status.st_mtim);
    if (age < age.zero() || age > tick) return;
    if (calls.datesTellEveryChange(source.descriptor.get())) return;
    std::this_thread::sleep_for(tick - age);
    if (const auto status = statusOf(source.descriptor.get())) source.status = *status;
}

// Copies from both positions on until the end, or until the source is seen to have changed.
int copyByReading(const OpenSource& source, int target) {
    const int from = source.descriptor.get();
    std::vector<char> buffer;
    for (;;) {
        // At the end there is nothing to be read, mostly; a small buffer serves to learn that.
        std::array<char, 512> probe{};
        char* const bytes = buffer.empty() ? probe.data() : buffer.data();
        const size_t room = buffer.empty() ? probe.size() : buffer.size();
        const ssize_t count = retrying([&] { return ::read(from, bytes, room); });
        if (count <= 0) return count == 0 ? 0 : errno;
        if (const int failed = writeAll(target, {bytes, static_cast<size_t>(count)})) return failed;
        const auto now = statusOf(from);
        if (!now || !isUnchanged(source.status, *now)) return ESTALE;
        buffer.resize(bufferSize);
    }
}

// The content, in the quickest way that works. 0 or an errno value; ESTALE when the source changed.
int copyContent(const FileCalls& calls, const OpenSource& source, int target) {
    const int from = source.descriptor.get();
    const int cloned = calls.cloneFile(from, target);
    if (cloned == 0) return 0;
    if (!isRefusal(cloned)) return cloned;
    auto rest = static_cast<size_t>(source.status.st_size);
    while (rest > 0) {
        size_t copied = 0;
        const int failed = calls.copyRange(from, target, rest, copied);
        if (failed != 0 && !isRefusal(failed)) return failed;
        if (failed != 0 || copied == 0) break;
        rest -= copied;
    }
    // Also for files that say nothing of their size, and to learn that there is no more.
    return copyByReading(source, target);
}

std::optional<Error> problem(int failed, const CopySource& source) {
    if (failed == 0) return {};
    if (failed == ESTALE) return changedWhileCopied(source);
    return posixError(failed, source.doing());
}

// Whether the name still leads to the file that was read, and nothing was written to it.
bool isSourceUnchanged(const CopySource& source, const OpenSource& open) {
    const auto now = statusOf(open.descriptor.get());
    const auto named = statusAt(source.folder, source.name.c_str(), source.flags);
    return now && isUnchanged(open.status, *now) && named && isUnchanged(open.status, *named);
}

}  // namespace

Error changedWhileCopied(const CopySource& source) {
    return {filesErrorDomain, sourceChangedDuringCopy,
            source.path() + " changed while it was being copied"};
}

Result<OpenSource> openSource(const FileCalls& calls, const CopySource& source, EntryKind kind) {
    const int flags = (kind == EntryKind::folder ? O_DIRECTORY : O_NONBLOCK) |
                      ((source.flags & AT_SYMLINK_NOFOLLOW) != 0 ? O_NOFOLLOW : 0);
    OpenSource open{openAt(source.folder, source.name.c_str(), O_RDONLY | flags), {}};
    if (!open.descriptor) {
        const bool gone = errno == ENOENT || errno == ENOTDIR || errno == ELOOP || errno == ENXIO;
        return gone ? changedWhileCopied(source) : posixError(errno, source.doing());
    }
    const auto status = statusOf(open.descriptor.get());
    if (!status) return posixError(errno, source.doing());
    if (kindOfMode(status->st_mode) != kind) return changedWhileCopied(source);
    open.status = *status;
    waitUntilDateTells(calls, open);
    return open;
}

Result<struct stat> copyFile(const FileCalls& calls, const CopySource& source, int target) {
    auto open = openSource(calls, source, EntryKind::file);
    if (!open) return open.error();
    if (const auto error = problem(copyContent(calls, *open, target), source)) return *error;
    if (!isSourceUnchanged(source, *open)) return changedWhileCopied(source);
    int failed = copyAttributes(calls, open->descriptor.get(), open->status, target);
    if (failed == 0) failed = calls.sync(target);
    if (const auto error = problem(failed, source)) return *error;
    return open->status;
}

int copyAttributes(const FileCalls& calls, int source, const struct stat& status, int target) {
    // Before the permissions, which may forbid it.
    for (const std::string& name : calls.attributeNames(source)) {
        const auto value = calls.attribute(source, name.c_str());
        if (value) (void)calls.setAttribute(target, name.c_str(), *value);
    }
    const auto made = statusOf(target);
    if (!made) return errno;
    mode_t mode = status.st_mode & 07777;
    if (made->st_uid != status.st_uid) mode &= ~static_cast<mode_t>(S_ISUID);
    if (made->st_gid != status.st_gid) mode &= ~static_cast<mode_t>(S_ISGID);
    if (::fchmod(target, mode) != 0) return errno;
    const std::array<timespec, 2> times{status.st_atim, status.st_mtim};
    return setDatesRoundedUp(calls, target, nullptr, times);
}

}  // namespace larkspan::platform
