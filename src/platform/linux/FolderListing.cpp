#include "platform/linux/FolderListing.h"

#include "platform/posix/FileDescriptor.h"

#include <cerrno>
#include <cstddef>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>

namespace larkspan::platform {
namespace {

constexpr size_t bufferSize = 32UL * 1024;

bool isDots(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

FolderListing::Kind kindOf(unsigned char type) {
    if (type == DT_DIR) return FolderListing::Kind::folder;
    if (type == DT_LNK) return FolderListing::Kind::symbolicLink;
    return type == DT_UNKNOWN ? FolderListing::Kind::unknown : FolderListing::Kind::other;
}

}  // namespace

FolderListing::FolderListing() : buffer_(new char[bufferSize]) {}

int FolderListing::list(const std::string& path, const Entry& entry) {
    const FileDescriptor folder(
        ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!folder) return errno;
    for (;;) {
        const ssize_t got = getdents64(folder.get(), buffer_.get(), bufferSize);
        if (got < 0) return errno;
        if (got == 0) return 0;
        for (ssize_t at = 0; at < got;) {
            const auto* found = reinterpret_cast<const dirent64*>(buffer_.get() + at);
            if (!isDots(found->d_name)) {
                entry(folder.get(), found->d_name, kindOf(found->d_type));
            }
            at += found->d_reclen;
        }
    }
}

}  // namespace larkspan::platform
