#include "platform/linux/UnwatchedFolders.h"

#include "platform/linux/WatchErrors.h"

#include <cerrno>
#include <string_view>

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
    const std::uint64_t digest = mixed(textDigest(name), facts.st_mode & S_IFMT);
    // A subfolder's own dates change with its entries, which are looked at for themselves.
    if (S_ISDIR(facts.st_mode)) return digest;
    return mixed(mixed(mixed(digest, static_cast<std::uint64_t>(facts.st_size)), facts.st_mtim),
                 facts.st_ctim);
}

}  // namespace

void UnwatchedFolders::lookInto(const Waiting& folder, Walk& walk, const Changed& changed) {
    const std::uint64_t key = textDigest(folder.path);
    std::uint64_t entries = 1;
    bool isComplete = true;
    FolderListing listing;
    const int error =
        listing.list(folder.path, [&](int descriptor, const char* name, FolderListing::Kind) {
            if (!addEntry(descriptor, name, folder, walk, entries)) isComplete = false;
        });
    if (error != 0 && !isGone(error)) {
        walk.unread.insert(key);
        return;
    }
    const auto before = known_.find(key);
    if (!isComplete) {
        if (before != known_.end()) walk.found[key] = before->second;
        return;
    }
    if (before == known_.end() || before->second.entries != entries) changed(folder.path);
    walk.found[key] = {entries, folder.above};
}

// False when what the entry is cannot be told for the moment.
bool UnwatchedFolders::addEntry(int descriptor, const char* name, const Waiting& folder, Walk& walk,
                                std::uint64_t& entries) const {
    struct stat facts {};
    if (fstatat(descriptor, name, &facts, AT_SYMLINK_NOFOLLOW) != 0) {
        const int error = errno;
        if (isGone(error)) return true;
        walk.unread.insert(textDigest(folder.path + name + '/'));
        entries += textDigest(name);
        return isRefusal(error);
    }
    entries += entryDigest(name, facts);  // added up, since a listing has no fixed order
    if (!S_ISDIR(facts.st_mode)) return true;
    std::string below = folder.path + name + '/';
    if (!exclusion_.excludes(name, below)) {
        walk.waiting.push_back({std::move(below), textDigest(folder.path)});
    }
    return true;
}

bool UnwatchedFolders::liesInUnread(std::uint64_t folder, const Walk& walk) const {
    while (!walk.unread.contains(folder)) {
        const auto known = known_.find(folder);
        if (known == known_.end() || known->second.above == 0) return false;
        folder = known->second.above;
    }
    return true;
}

void UnwatchedFolders::keepUnread(Walk& walk) const {
    if (walk.unread.empty()) return;
    for (const auto& [folder, known] : known_) {
        if (!walk.found.contains(folder) && liesInUnread(folder, walk)) {
            walk.found.emplace(folder, known);
        }
    }
}

void UnwatchedFolders::add(const std::string& tree, const Changed& changed) {
    Walk walk{.waiting = {{tree, 0}}, .found = {}, .unread = {}};
    while (!walk.waiting.empty() && !stopping_()) {
        const Waiting folder = std::move(walk.waiting.back());
        walk.waiting.pop_back();
        lookInto(folder, walk, changed);
    }
    for (const auto& [folder, found] : walk.found) known_.insert_or_assign(folder, found);
}

void UnwatchedFolders::begin(std::vector<std::string> trees) {
    looking_.emplace();
    for (std::string& tree : trees) looking_->waiting.push_back({std::move(tree), 0});
}

void UnwatchedFolders::goOn(const std::function<bool()>& pause, const Changed& changed) {
    while (!looking_->waiting.empty()) {
        if (stopping_() || pause()) return;
        const Waiting folder = std::move(looking_->waiting.back());
        looking_->waiting.pop_back();
        lookInto(folder, *looking_, changed);
    }
    keepUnread(*looking_);
    known_ = std::move(looking_->found);
    looking_.reset();
}

void UnwatchedFolders::look(std::vector<std::string> trees, const Changed& changed) {
    begin(std::move(trees));
    goOn([] { return false; }, changed);
}

}  // namespace larkspan::platform
