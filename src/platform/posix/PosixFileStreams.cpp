#include "platform/posix/PosixFileStreams.h"

#include "platform/posix/FileCopy.h"
#include "platform/posix/SystemCall.h"

#include <cerrno>

#include <unistd.h>

namespace larkspan::platform {
namespace {

class PosixFileStream final : public FileStream {
  public:
    PosixFileStream(FileDescriptor file, std::string path)
        : file_(std::move(file)), path_(std::move(path)) {}

    Result<size_t> readAt(std::uint64_t position, std::span<char> buffer) override {
        size_t filled = 0;
        while (filled < buffer.size()) {
            const ssize_t count = retrying([&] {
                return ::pread(file_.get(), buffer.data() + filled, buffer.size() - filled,
                               static_cast<off_t>(position + filled));
            });
            if (count < 0) return posixError(errno, "reading " + path_);
            if (count == 0) break;
            filled += static_cast<size_t>(count);
        }
        return filled;
    }

    WriteResult writeAt(std::uint64_t position, std::string_view bytes) override {
        WriteResult result;
        while (result.written < bytes.size()) {
            const ssize_t count = retrying([&] {
                return ::pwrite(file_.get(), bytes.data() + result.written,
                                bytes.size() - result.written,
                                static_cast<off_t>(position + result.written));
            });
            if (count < 0) {
                result.errorNumber = errno;
                break;
            }
            result.written += static_cast<size_t>(count);
        }
        return result;
    }

  private:
    FileDescriptor file_;
    std::string path_;
};

// The kind is looked at before anything is opened for writing, and again on what was opened.
Result<FileDescriptor> openRegularFile(const Path& path, int flags) {
    const std::string doing = "opening " + path.str();
    struct stat status {};
    const bool isThere = ::stat(systemName(path), &status) == 0;
    if (isThere && S_ISDIR(status.st_mode)) return posixError(EISDIR, doing);
    if (isThere && !S_ISREG(status.st_mode)) return posixError(EINVAL, doing);
    constexpr mode_t mode = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
    FileDescriptor file = openAt(AT_FDCWD, systemName(path), flags | O_NONBLOCK, mode);
    if (!file || ::fstat(file.get(), &status) != 0) return posixError(errno, doing);
    if (!S_ISREG(status.st_mode)) return posixError(EINVAL, doing);
    return file;
}

Result<std::unique_ptr<FileStream>> openStream(const Path& path, int flags) {
    auto file = openRegularFile(path, flags);
    if (!file) return file.error();
    return std::unique_ptr<FileStream>(
        std::make_unique<PosixFileStream>(std::move(*file), path.str()));
}

}  // namespace

Result<std::unique_ptr<FileStream>> PosixFileStreams::openForReading(const Path& path) {
    return openStream(path, O_RDONLY);
}

Result<std::unique_ptr<FileStream>> PosixFileStreams::openEmptied(const Path& path) {
    return openStream(path, O_RDWR | O_CREAT | O_TRUNC);
}

std::optional<Error> PosixFileStreams::copyAttributes(const Path& source, const Path& target) {
    const auto from = openRegularFile(source, O_RDONLY);
    if (!from) return from.error();
    const auto to = openRegularFile(target, O_WRONLY);
    if (!to) return to.error();
    struct stat status {};
    if (::fstat(from->get(), &status) != 0) return posixError(errno, source.str());
    const bool ownerIsSet = ::fchown(to->get(), status.st_uid, status.st_gid) == 0;
    // Only root can; whoever else copies has a file of his own.
    if (!ownerIsSet && errno != EPERM) return posixError(errno, target.str());
    if (const int failed = platform::copyAttributes(calls_, from->get(), status, to->get())) {
        return posixError(failed, target.str());
    }
    return {};
}

}  // namespace larkspan::platform
