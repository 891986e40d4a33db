#include "platform/posix/TreeRemoval.h"

#include "platform/posix/FileFacts.h"
#include "platform/posix/FolderChain.h"
#include "platform/posix/SystemCall.h"
#include "platform/posix/TemporaryItem.h"

#include <unistd.h>

namespace larkspan::platform {
namespace {

// unlinkat; 0, also when there is nothing, EISDIR for a folder, or another errno value.
int unlinkEntry(int folder, const char* name) {
    if (::unlinkat(folder, name, 0) == 0 || errno == ENOENT) return 0;
    if (errno != EPERM) return errno;
    // What some systems say for folders.
    const auto status = statusAt(folder, name, AT_SYMLINK_NOFOLLOW);
    return status && S_ISDIR(status->st_mode) ? EISDIR : EPERM;
}

FileDescriptor openForRemoval(int parent, const char* name) {
    FileDescriptor folder = openFolderAt(parent, name, O_NOFOLLOW);
    if (!folder && errno == EACCES && ::fchmodat(parent, name, S_IRWXU, AT_SYMLINK_NOFOLLOW) == 0) {
        folder = openFolderAt(parent, name, O_NOFOLLOW);
    }
    if (!folder) return folder;
    const auto status = statusOf(folder.get());
    if (status && (status->st_mode & S_IRWXU) != S_IRWXU && status->st_uid == ::geteuid()) {
        (void)::fchmod(folder.get(), (status->st_mode & 07777) | S_IRWXU);
    }
    return folder;
}

class TreeRemoval {
  public:
    TreeRemoval(const FileCalls& calls, int top, const Path& path)
        : calls_(calls), chain_(top), path_(path) {}

    std::optional<Error> remove(const char* name) {
        if (int failed = unlinkEntry(chain_.current(), name); failed != EISDIR) {
            return result(failed);
        }
        int failed = enter(name);
        while (failed == 0 && !levels_.empty()) {
            failed = levels_.back().folders.empty() ? leave() : enterNext();
        }
        return result(failed);
    }

  private:
    struct Level {
        std::string name;
        std::vector<std::string> folders;  // still to be removed
    };

    std::optional<Error> result(int failed) const {
        if (failed == 0) return {};
        Path where = path_;
        for (size_t i = 1; i < levels_.size(); ++i) where = where / levels_[i].name;
        return posixError(failed, "removing " + where.str());
    }

    int enterNext() {
        const std::string name = std::move(levels_.back().folders.back());
        levels_.back().folders.pop_back();
        return enter(name);
    }

    // Removes what is no folder in there and notes what is.
    int enter(const std::string& name) {
        FileDescriptor folder = openForRemoval(chain_.current(), name.c_str());
        if (!folder && errno == ENOENT) return 0;
        // It was replaced by something else since it was listed.
        if (!folder && (errno == ENOTDIR || errno == ELOOP)) {
            return unlinkEntry(chain_.current(), name.c_str());
        }
        if (!folder) return errno;
        levels_.push_back({name, {}});
        std::vector<DirectoryEntry> entries;
        if (const int failed = calls_.listFolder(folder.get(), {}, entries)) return failed;
        for (DirectoryEntry& entry : entries) {
            const int failed = entry.kind == EntryKind::folder
                                   ? EISDIR
                                   : unlinkEntry(folder.get(), entry.name.c_str());
            if (failed == EISDIR) {
                levels_.back().folders.push_back(std::move(entry.name));
            } else if (failed != 0) {
                return failed;
            }
        }
        chain_.enter(std::move(folder));
        return 0;
    }

    int leave() {
        FileDescriptor left;
        if (const int failed = chain_.leave(left)) return failed;
        if (::unlinkat(chain_.current(), levels_.back().name.c_str(), AT_REMOVEDIR) != 0 &&
            errno != ENOENT) {
            return errno;
        }
        levels_.pop_back();
        return 0;
    }

    const FileCalls& calls_;
    FolderChain chain_;
    const Path& path_;
    std::vector<Level> levels_;
};

// Moves the folder to a temporary name, removes it there, and puts it back if that fails. Not
// locked: should another process take it for abandoned, it does what is to be done.
std::optional<Error> removeFolder(const FileCalls& calls, const EntryPlace& place,
                                  const Path& path) {
    const int parent = place.folder.get();
    const char* name = place.name.c_str();
    const std::string hidden = temporaryItemName(temporaryRemovalPrefix);
    if (const int failed = moveWithoutReplacing(calls, parent, name, parent, hidden.c_str())) {
        return posixError(failed, "removing " + path.str());
    }
    auto error = removeTree(calls, parent, hidden.c_str(), path);
    if (error) (void)moveWithoutReplacing(calls, parent, hidden.c_str(), parent, name);
    return error;
}

}  // namespace

std::optional<Error> removeTree(const FileCalls& calls, int folder, const char* name,
                                const Path& path) {
    return TreeRemoval(calls, folder, path).remove(name);
}

std::optional<Error> removePath(const FileCalls& calls, const Path& path) {
    const EntryPlace place(path);
    const std::string doing = "removing " + path.str();
    if (!place.folder) return posixError(errno, doing);
    if (place.name == "." || place.name == ".." || place.name == "/") {
        return posixError(EINVAL, doing);
    }
    const auto status = statusAt(place.folder.get(), place.name.c_str(), AT_SYMLINK_NOFOLLOW);
    if (!status) return posixError(errno, doing);
    if (S_ISDIR(status->st_mode)) return removeFolder(calls, place, path);
    if (::unlinkat(place.folder.get(), place.name.c_str(), 0) == 0) return {};
    return posixError(errno, doing);
}

}  // namespace larkspan::platform
