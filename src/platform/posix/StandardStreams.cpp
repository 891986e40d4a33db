#include "platform/posix/StandardStreams.h"

#include <cerrno>
#include <string>

#include <unistd.h>

namespace larkspan::platform {
namespace {

void writeLine(int descriptor, std::string_view line) {
    std::string text(line);
    if (!text.ends_with('\n')) text.push_back('\n');
    for (std::string_view rest = text; !rest.empty();) {
        const ssize_t written = ::write(descriptor, rest.data(), rest.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        rest.remove_prefix(static_cast<size_t>(written));
    }
}

}  // namespace

void StandardStreams::print(std::string_view line) {
    const std::lock_guard lock(mutex_);
    writeLine(STDOUT_FILENO, line);
}

void StandardStreams::report(std::string_view line) {
    const std::lock_guard lock(mutex_);
    writeLine(STDERR_FILENO, line);
}

}  // namespace larkspan::platform
