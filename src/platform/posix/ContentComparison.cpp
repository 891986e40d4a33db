#include "platform/posix/ContentComparison.h"

#include "platform/Files.h"
#include "platform/posix/FileFacts.h"
#include "platform/posix/SystemCall.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <dirent.h>

namespace larkspan::platform {
namespace {

constexpr size_t blockSize = size_t{128} << 10;

// Fills the block, less at the end of the file. Negative on failure.
ssize_t readBlock(int descriptor, std::vector<char>& block) {
    size_t filled = 0;
    while (filled < block.size()) {
        const ssize_t count = retrying(
            [&] { return ::read(descriptor, block.data() + filled, block.size() - filled); });
        if (count < 0) return count;
        if (count == 0) break;
        filled += static_cast<size_t>(count);
    }
    return static_cast<ssize_t>(filled);
}

bool filesEqual(const Path& one, const Path& other) {
    constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK;
    const FileDescriptor first = openAt(AT_FDCWD, systemName(one), flags);
    const FileDescriptor second = openAt(AT_FDCWD, systemName(other), flags);
    if (!first || !second) return false;
    std::vector<char> block(blockSize);
    std::vector<char> otherBlock(blockSize);
    for (;;) {
        const ssize_t count = readBlock(first.get(), block);
        if (count < 0 || count != readBlock(second.get(), otherBlock)) return false;
        if (count == 0) return true;
        if (std::memcmp(block.data(), otherBlock.data(), static_cast<size_t>(count)) != 0) {
            return false;
        }
    }
}

std::optional<std::string> linkTarget(const Path& path) {
    std::string target(PATH_MAX, '\0');
    const ssize_t length = ::readlink(systemName(path), target.data(), target.size());
    if (length < 0) return std::nullopt;
    target.resize(static_cast<size_t>(length));
    return target;
}

std::optional<std::set<std::string>> namesIn(const Path& folder) {
    FileDescriptor descriptor = openFolderAt(AT_FDCWD, systemName(folder), O_NOFOLLOW);
    DIR* const listing = descriptor ? ::fdopendir(descriptor.get()) : nullptr;
    if (!listing) return std::nullopt;
    (void)descriptor.release();
    std::set<std::string> names;
    errno = 0;
    for (const dirent* entry = ::readdir(listing); entry; entry = ::readdir(listing)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") names.insert(name);
    }
    const bool complete = errno == 0;
    ::closedir(listing);
    return complete ? std::optional(std::move(names)) : std::nullopt;
}

struct Pair {
    Path one;
    Path other;
};

// Compares two entries; what folders hold is put on the list of pairs still to be compared.
bool entriesEqual(const Pair& pair, std::vector<Pair>& waiting) {
    struct stat one = {};
    struct stat other = {};
    if (::lstat(systemName(pair.one), &one) != 0 || ::lstat(systemName(pair.other), &other) != 0) {
        return false;
    }
    if ((one.st_mode & S_IFMT) != (other.st_mode & S_IFMT)) return false;
    if (S_ISREG(one.st_mode)) {
        return one.st_size == other.st_size && filesEqual(pair.one, pair.other);
    }
    if (S_ISLNK(one.st_mode)) {
        const auto target = linkTarget(pair.one);
        return target && target == linkTarget(pair.other);
    }
    if (!S_ISDIR(one.st_mode)) return false;
    const auto names = namesIn(pair.one);
    if (!names || names != namesIn(pair.other)) return false;
    for (const std::string& name : *names) waiting.push_back({pair.one / name, pair.other / name});
    return true;
}

}  // namespace

bool contentsEqual(const Path& one, const Path& other) {
    std::vector<Pair> waiting{{one, other}};
    while (!waiting.empty()) {
        const Pair pair = std::move(waiting.back());
        waiting.pop_back();
        if (!entriesEqual(pair, waiting)) return false;
    }
    return true;
}

}  // namespace larkspan::platform
