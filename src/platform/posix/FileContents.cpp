#include "platform/posix/FileContents.h"

#include "platform/posix/FileFacts.h"
#include "platform/posix/SystemCall.h"
#include "platform/posix/TemporaryItem.h"

#include <algorithm>
#include <array>
#include <climits>

#include <unistd.h>

namespace larkspan::platform {
namespace {

// Opens a regular file without waiting for pipes and devices. 0 or an errno value.
int openRegularFile(int folder, const char* name, int flags, FileDescriptor& file,
                    struct stat& status) {
    file = openAt(folder, name, flags | O_NONBLOCK);
    // What a socket, or a pipe that nobody reads, says.
    if (!file) return errno == ENXIO ? EINVAL : errno;
    const auto facts = statusOf(file.get());
    if (!facts) return errno;
    status = *facts;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    return S_ISREG(status.st_mode) ? 0 : EINVAL;
}

// All there is, up to one byte more than `largestSize`. 0 or an errno value.
int readUpTo(int file, size_t expected, size_t largestSize, std::string& bytes) {
    constexpr size_t smallest = 4096;
    constexpr size_t step = 1024UL * 1024;
    size_t filled = 0;
    bytes.resize(std::max(std::min(expected, largestSize) + 1, smallest));
    for (;;) {
        const ssize_t count =
            retrying([&] { return ::read(file, bytes.data() + filled, bytes.size() - filled); });
        if (count < 0) return errno;
        filled += static_cast<size_t>(count);
        if (filled > largestSize) return EFBIG;
        if (count == 0) break;
        if (filled == bytes.size()) bytes.resize(filled + step);
    }
    bytes.resize(filled);
    return 0;
}

class PosixFileWriter final : public FileWriter {
  public:
    PosixFileWriter(FileDescriptor file, std::string path)
        : file_(std::move(file)), path_(std::move(path)) {}

    std::optional<Error> write(std::string_view bytes) override {
        const int failed = writeAll(file_.get(), bytes);
        if (failed == 0) return {};
        return posixError(failed, "writing " + path_);
    }

  private:
    FileDescriptor file_;
    std::string path_;
};

// The path at the end of a chain of links; the path itself when it is no link.
Result<Path> followingLinks(Path path, const std::string& doing) {
    constexpr int mostLinks = 40;  // as the system's own limit
    for (int i = 0; i < mostLinks; ++i) {
        std::array<char, PATH_MAX> text{};
        if (::readlink(systemName(path), text.data(), text.size() - 1) < 0) return path;
        const Path next(text.data());
        path = next.isAbsolute() ? next : path.deletingLastPathComponent() / next.str();
    }
    return posixError(ELOOP, doing);
}

// Gives the new file what the one before had: permissions and, where that is allowed, the owner.
int takeAccess(int file, const struct stat& before) {
    const bool sameOwner = ::fchown(file, before.st_uid, before.st_gid) == 0;
    const mode_t kept = sameOwner ? 07777 : 0777;
    return ::fchmod(file, before.st_mode & kept) == 0 ? 0 : errno;
}

}  // namespace

int writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written =
            retrying([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
        if (written < 0) return errno;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return 0;
}

Result<std::string> readFileAt(int folder, const char* name, size_t largestSize,
                               const std::string& doing) {
    FileDescriptor file;
    struct stat status {};
    if (const int failed = openRegularFile(folder, name, O_RDONLY, file, status)) {
        return posixError(failed, doing);
    }
    const auto size = static_cast<size_t>(status.st_size);
    if (size > largestSize) return posixError(EFBIG, doing);
    std::string bytes;
    if (const int failed = readUpTo(file.get(), size, largestSize, bytes)) {
        return posixError(failed, doing);
    }
    return bytes;
}

Result<std::unique_ptr<FileWriter>> openFileForAppending(const Path& path) {
    FileDescriptor file;
    struct stat status {};
    const int failed =
        openRegularFile(AT_FDCWD, systemName(path), O_WRONLY | O_APPEND, file, status);
    if (failed != 0) return posixError(failed, "opening " + path.str());
    return std::unique_ptr<FileWriter>(
        std::make_unique<PosixFileWriter>(std::move(file), path.str()));
}

std::optional<Error> replaceFile(const FileCalls& calls, const Path& path, std::string_view bytes) {
    const std::string doing = "writing " + path.str();
    const auto real = followingLinks(path, doing);
    if (!real) return real.error();
    const EntryPlace place(*real);
    if (!place.folder) return posixError(errno, doing);
    const auto before = statusAt(place.folder.get(), place.name.c_str(), AT_SYMLINK_NOFOLLOW);
    if (!before && errno != ENOENT) return posixError(errno, doing);
    if (before && S_ISDIR(before->st_mode)) return posixError(EISDIR, doing);
    if (before && !S_ISREG(before->st_mode)) return posixError(EINVAL, doing);

    const mode_t mode = before ? S_IRUSR | S_IWUSR : S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
    auto item =
        TemporaryItem::makeFile(calls, place.folder.get(), temporaryWritePrefix, mode, doing);
    if (!item) return item.error();
    int failed = before ? takeAccess(item->descriptor(), *before) : 0;
    if (failed == 0) failed = writeAll(item->descriptor(), bytes);
    if (failed == 0) failed = calls.sync(item->descriptor());
    if (failed == 0) failed = item->publishReplacing(place.name);
    if (failed != 0) return posixError(failed, doing);
    return {};
}

}  // namespace larkspan::platform
