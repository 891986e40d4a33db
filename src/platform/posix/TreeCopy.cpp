#include "platform/posix/TreeCopy.h"

#include "platform/posix/FileCopy.h"
#include "platform/posix/FileFacts.h"
#include "platform/posix/FolderChain.h"
#include "platform/posix/SystemCall.h"
#include "platform/posix/TemporaryItem.h"

#include <array>
#include <climits>

#include <unistd.h>

namespace larkspan::platform {
namespace {

// Where a walk is: the open folders and the path, for the texts of errors.
class SourceWalk {
  public:
    explicit SourceWalk(const CopySource& top) : top_(top), chain_(top.folder) {}

    CopySource entry(const std::string& name) const {
        if (depth_ == 0) return top_;
        return {chain_.current(), name, AT_SYMLINK_NOFOLLOW, &path_};
    }
    int current() const { return chain_.current(); }
    size_t depth() const { return depth_; }

    void enter(FileDescriptor folder, const std::string& name) {
        path_ += (depth_++ == 0 ? top_.name : name) + "/";
        chain_.enter(std::move(folder));
    }
    int leave(FileDescriptor& left) {
        const size_t slash = --depth_ == 0 ? path_.npos : path_.rfind('/', path_.size() - 2);
        path_.resize(slash == path_.npos ? 0 : slash + 1);
        return chain_.leave(left);
    }

  private:
    const CopySource& top_;
    FolderChain chain_;
    std::string path_;
    size_t depth_ = 0;
};

class TreeCopy {
  public:
    TreeCopy(const FileCalls& calls, const CopySource& source, int target)
        : calls_(calls), source_(source), walk_(source), targets_(target) {}

    std::optional<Error> run() {
        const auto status = statusOf(targets_.current());
        if (!status) return posixError(errno, source_.doing());
        targetIdentity_ = identityOf(*status);
        auto error = enter(source_.name);
        while (!error && !levels_.empty()) {
            Level& level = levels_.back();
            error = level.next == level.entries.size() ? leave() : copyNext(level);
        }
        return error ? error : lookAgain();
    }

  private:
    struct Level {
        struct stat status;
        std::vector<DirectoryEntry> entries;
        size_t next = 0;
    };
    // What was copied, in the order of the walk: folders before what is in them, and where each
    // folder ends.
    struct Step {
        std::string name;
        std::optional<struct stat> status;  // empty at the end of a folder
    };

    // The entry is kept apart: going into a folder adds a level, and may move those there are.
    std::optional<Error> copyNext(Level& level) {
        const DirectoryEntry entry = std::move(level.entries[level.next++]);
        return copy(entry);
    }

    std::optional<Error> copy(const DirectoryEntry& entry) {
        switch (entry.kind) {
            case EntryKind::folder:
                return enter(entry.name);
            case EntryKind::file:
                return copyFileEntry(entry.name);
            case EntryKind::symbolicLink:
                return copyLink(entry.name);
            case EntryKind::other:
                break;
        }
        return {};
    }

    std::optional<Error> enter(const std::string& name) {
        const CopySource source = walk_.entry(name);
        auto open = openSource(calls_, source, EntryKind::folder);
        if (!open) return open.error();
        // Into itself: this would never end.
        if (identityOf(open->status) == targetIdentity_) return posixError(EINVAL, source_.doing());
        if (!levels_.empty() && !makeTargetFolder(name)) return posixError(errno, source.doing());
        Level level{open->status, {}};
        if (const int failed = calls_.listFolder(open->descriptor.get(), {}, level.entries)) {
            return posixError(failed, source.doing());
        }
        steps_.push_back({name, open->status});
        levels_.push_back(std::move(level));
        walk_.enter(std::move(open->descriptor), name);
        return {};
    }

    // With all rights for us, whatever the source allows, until everything is in it.
    bool makeTargetFolder(const std::string& name) {
        if (::mkdirat(targets_.current(), name.c_str(), S_IRWXU) != 0) return false;
        FileDescriptor made = openFolderAt(targets_.current(), name.c_str(), O_NOFOLLOW);
        if (!made) return false;
        targets_.enter(std::move(made));
        return true;
    }

    // Folders get their rights and dates when everything is in them.
    std::optional<Error> leave() {
        const struct stat status = levels_.back().status;
        levels_.pop_back();
        FileDescriptor source;
        int failed = walk_.leave(source);
        if (failed == ESTALE) return changedWhileCopied(source_);
        FileDescriptor left;
        if (failed == 0 && !levels_.empty()) failed = targets_.leave(left);
        const int target = levels_.empty() ? targets_.current() : left.get();
        if (failed == 0) failed = copyAttributes(calls_, source.get(), status, target);
        if (failed == 0) failed = calls_.sync(target);
        if (failed != 0) return posixError(failed, source_.doing());
        steps_.push_back({});
        return {};
    }

    std::optional<Error> copyFileEntry(const std::string& name) {
        const CopySource source = walk_.entry(name);
        const FileDescriptor target =
            openAt(targets_.current(), name.c_str(), O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
        if (!target) return posixError(errno, source.doing());
        const auto copied = copyFile(calls_, source, target.get());
        if (!copied) return copied.error();
        steps_.push_back({name, *copied});
        return {};
    }

    std::optional<Error> copyLink(const std::string& name) {
        const CopySource source = walk_.entry(name);
        const auto status = statusAt(source.folder, name.c_str(), AT_SYMLINK_NOFOLLOW);
        std::array<char, PATH_MAX> text{};
        const ssize_t length =
            ::readlinkat(source.folder, name.c_str(), text.data(), text.size() - 1);
        if (!status || length < 0) return changedWhileCopied(source);
        const std::array<timespec, 2> times{status->st_atim, status->st_mtim};
        if (::symlinkat(text.data(), targets_.current(), name.c_str()) != 0 ||
            ::utimensat(targets_.current(), name.c_str(), times.data(), AT_SYMLINK_NOFOLLOW) != 0) {
            return posixError(errno, source.doing());
        }
        steps_.push_back({name, *status});
        return {};
    }

    // Whether everything is still as it was when it was copied.
    std::optional<Error> lookAgain() const {
        SourceWalk walk(source_);
        FileDescriptor left;
        for (const Step& step : steps_) {
            if (!step.status) {
                if (walk.leave(left) != 0) return changedWhileCopied(source_);
                continue;
            }
            const CopySource source = walk.entry(step.name);
            const auto now = statusAt(source.folder, source.name.c_str(), source.flags);
            if (!now || !isUnchanged(*step.status, *now)) return changedWhileCopied(source);
            if (!S_ISDIR(now->st_mode)) continue;
            FileDescriptor folder = openFolderAt(source.folder, source.name.c_str(),
                                                 source.flags != 0 ? O_NOFOLLOW : 0);
            if (!folder) return changedWhileCopied(source);
            walk.enter(std::move(folder), step.name);
        }
        return {};
    }

    const FileCalls& calls_;
    const CopySource& source_;
    SourceWalk walk_;
    FolderChain targets_;
    FileIdentity targetIdentity_;
    std::vector<Level> levels_;
    std::vector<Step> steps_;
};

std::optional<Error> copyInto(const FileCalls& calls, const CopySource& source, EntryKind kind,
                              const EntryPlace& target, const std::string& doing) {
    const int folder = target.folder.get();
    auto item =
        kind == EntryKind::folder
            ? TemporaryItem::makeFolder(calls, folder, temporaryCopyPrefix, doing)
            : TemporaryItem::makeFile(calls, folder, temporaryCopyPrefix, S_IRUSR | S_IWUSR, doing);
    if (!item) return item.error();
    if (kind == EntryKind::folder) {
        if (auto error = TreeCopy(calls, source, item->descriptor()).run()) return error;
    } else {
        const auto copied = copyFile(calls, source, item->descriptor());
        if (!copied) return copied.error();
    }
    if (const int failed = item->publish(target.name)) return posixError(failed, doing);
    return {};
}

}  // namespace

std::optional<Error> copyPath(const FileCalls& calls, const Path& source, const Path& target) {
    const CopySource from{.folder = AT_FDCWD, .name = systemName(source)};
    const std::string doing = "copying " + source.str() + " to " + target.str();
    const auto status = statusAt(AT_FDCWD, from.name.c_str(), 0);
    if (!status) return posixError(errno, "copying " + source.str());
    const EntryKind kind = kindOfMode(status->st_mode);
    if (kind == EntryKind::other) return posixError(EINVAL, from.doing());
    const EntryPlace to(target);
    if (!to.folder) return posixError(errno, doing);
    const auto inTheWay = statusAt(to.folder.get(), to.name.c_str(), AT_SYMLINK_NOFOLLOW);
    if (inTheWay) return posixError(EEXIST, doing);
    if (errno != ENOENT || to.name.empty()) return posixError(errno, doing);
    return copyInto(calls, from, kind, to, doing);
}

}  // namespace larkspan::platform
