#include "platform/posix/SmallFile.h"

#include "platform/posix/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <climits>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace larkspan::platform {

std::optional<std::string> readSmallFile(const Path& path, size_t largest) {
    // Non-blocking, since opening a pipe would wait for its other end.
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat facts = {};
    if (!file || ::fstat(file.get(), &facts) != 0 || !S_ISREG(facts.st_mode)) return std::nullopt;
    std::string content;
    std::array<char, 16384> chunk;
    while (content.size() <= largest) {
        const ssize_t got = ::read(file.get(), chunk.data(), chunk.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return std::nullopt;
        if (got == 0) return content;
        content.append(chunk.data(), static_cast<size_t>(got));
    }
    return std::nullopt;
}

std::optional<Path> readLink(const Path& path) {
    std::array<char, PATH_MAX> target;
    const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
    // A target that fills the buffer may have been cut off.
    if (length <= 0 || static_cast<size_t>(length) == target.size()) return std::nullopt;
    return Path(std::string(target.data(), static_cast<size_t>(length)));
}

}  // namespace larkspan::platform
