#pragma once

#include "foundation/Path.h"
#include "foundation/Result.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace larkspan::platform {

// What a write achieved. Less than was to be written always comes with the reason.
struct WriteResult {
    size_t written = 0;   // bytes
    int errorNumber = 0;  // an errno value, 0 when all was written
};

// An open regular file, read and written at any position. Closed when destroyed. One thread at a
// time.
class FileStream {
  public:
    virtual ~FileStream() = default;

    // Fills the buffer from that position on, less only where the file ends. Gives the bytes read.
    virtual Result<size_t> readAt(std::uint64_t position, std::span<char> buffer) = 0;
    virtual WriteResult writeAt(std::uint64_t position, std::string_view bytes) = 0;
};

// Files opened to be copied piece by piece, by whoever wants to look at each piece. A copy that is
// to appear whole is Files::copyItem. Any thread. Errors have posixErrorDomain; folders give
// EISDIR, devices, pipes and sockets EINVAL, without being waited for.
class FileStreams {
  public:
    virtual ~FileStreams() = default;

    virtual Result<std::unique_ptr<FileStream>> openForReading(const Path& path) = 0;
    // For reading and writing, created or emptied.
    virtual Result<std::unique_ptr<FileStream>> openEmptied(const Path& path) = 0;

    // Gives a file the attributes of another: dates, permissions, extended attributes as far as its
    // file system takes them, and the owner where the process may.
    virtual std::optional<Error> copyAttributes(const Path& source, const Path& target) = 0;
};

}  // namespace larkspan::platform
