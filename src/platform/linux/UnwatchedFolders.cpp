#include "platform/linux/UnwatchedFolders.h"

#include "platform/linux/FolderListing.h"

#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

namespace larkspan::platform {
namespace {

std::uint64_t mixed(std::uint64_t digest, std::uint64_t value) {
    digest = (digest ^ value) * 0x9e3779b97f4a7c15U;
    return digest ^ (digest >> 29);
}

std::uint64_t mixed(std::uint64_t digest, const timespec& time) {
    return mixed(mixed(digest, static_cast<std::uint64_t>(time.tv_sec)),
                 static_cast<std::uint64_t>(time.tv_nsec));
}

std::uint64_t textDigest(std::string_view text) {
    return std::hash<std::string_view>()(text);
}

std::uint64_t entryDigest(const char* name, const struct stat& facts) {
    std::uint64_t digest = mixed(textDigest(name), facts.st_ino);
    // A subfolder's own dates change with its entries, which are looked at for themselves.
    if (S_ISDIR(facts.st_mode)) return digest;
    digest = mixed(digest, static_cast<std::uint64_t>(facts.st_size));
    return mixed(mixed(digest, facts.st_mtim), facts.st_ctim);
}

}  // namespace

void UnwatchedFolders::walk(const std::string& tree, Digests& digests,
                            const Changed& changed) const {
    FolderListing listing;
    std::vector<std::string> waiting{tree};
    while (!waiting.empty() && !stopping_()) {
        const std::string folder = std::move(waiting.back());
        waiting.pop_back();
        std::uint64_t digest = 1;
        // Added up, since a listing has no fixed order.
        listing.list(folder, [&](int descriptor, const char* name, FolderListing::Kind) {
            struct stat facts {};
            if (fstatat(descriptor, name, &facts, AT_SYMLINK_NOFOLLOW) != 0) return;
            digest += entryDigest(name, facts);
            if (!S_ISDIR(facts.st_mode)) return;
            std::string below = folder + name + '/';
            if (!exclusion_.excludes(name, below)) waiting.push_back(std::move(below));
        });
        const std::uint64_t key = textDigest(folder);
        const auto before = digests_.find(key);
        if (before == digests_.end() || before->second != digest) changed(folder);
        digests[key] = digest;
    }
}

void UnwatchedFolders::add(const std::string& tree, const Changed& changed) {
    walk(tree, digests_, changed);
}

void UnwatchedFolders::look(const std::vector<std::string>& trees, const Changed& changed) {
    Digests digests;
    for (const std::string& tree : trees) walk(tree, digests, changed);
    digests_ = std::move(digests);
}

}  // namespace larkspan::platform
