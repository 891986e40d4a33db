#pragma once

#include "foundation/Path.h"
#include "platform/posix/FileDescriptor.h"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

namespace larkspan::platform {

// Makes a call again for as long as signals interrupt it. The call gives -1 and errno on failure.
template <class Call>
auto retrying(Call call) {
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR) return result;
    }
}

// A name as the system takes it. One with a zero byte inside names nothing: it becomes the empty
// name, which every call answers with ENOENT, rather than the name of something else.
inline const char* systemName(const std::string& name) {
    return name.find('\0') == std::string::npos ? name.c_str() : "";
}
inline const char* systemName(const Path& path) {
    return systemName(path.str());
}

// openat that is never interrupted and whose descriptor no child process inherits. Owns nothing,
// with errno set, on failure.
inline FileDescriptor openAt(int folder, const char* name, int flags, mode_t mode = 0) {
    return FileDescriptor(
        retrying([&] { return ::openat(folder, name, flags | O_CLOEXEC | O_NOCTTY, mode); }));
}

inline FileDescriptor openFolderAt(int folder, const char* name, int flags = 0) {
    return openAt(folder, name, O_RDONLY | O_DIRECTORY | flags);
}

// Where an entry lies: its folder, opened, and its name in it. Slashes at the end of the path are
// not part of the name, so that a link is named and not what it leads to.
struct EntryPlace {
    FileDescriptor folder;  // owns nothing, with errno set, when it cannot be opened
    std::string name;

    explicit EntryPlace(const Path& path) : name(systemName(path.lastPathComponent())) {
        const Path above = path.deletingLastPathComponent();
        folder = openFolderAt(AT_FDCWD, above.empty() ? "." : systemName(above));
    }
};

}  // namespace larkspan::platform
