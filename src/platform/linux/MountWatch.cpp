#include "platform/linux/MountWatch.h"

#include <array>
#include <string>

#include <fcntl.h>

namespace larkspan::platform {

MountWatch::MountWatch() : table_(::open("/proc/thread-self/mountinfo", O_RDONLY | O_CLOEXEC)) {}

std::vector<Mount> MountWatch::mounts() const {
    std::string text;
    std::array<char, 4096> buffer;
    if (!table_ || ::lseek(table_.get(), 0, SEEK_SET) != 0) return {};
    for (ssize_t got = 0; (got = ::read(table_.get(), buffer.data(), buffer.size())) > 0;) {
        text.append(buffer.data(), static_cast<size_t>(got));
    }
    return parseMountTable(text);
}

}  // namespace larkspan::platform
