#include "platform/posix/TemporaryItem.h"

#include "foundation/Uuid.h"
#include "platform/posix/FileFacts.h"
#include "platform/posix/SystemCall.h"
#include "platform/posix/TreeRemoval.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <mutex>

#include <sys/file.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

// Takes the lock that tells others that an item is in use, until the descriptor is closed. False
// when another has it, or the file system has no such locks. `flags` may be LOCK_NB.
bool lock(int descriptor, int flags = 0) {
    return retrying([&] { return ::flock(descriptor, LOCK_EX | flags); }) == 0;
}

bool stillHasName(int folder, const std::string& name, int descriptor) {
    const auto named = statusAt(folder, name.c_str(), AT_SYMLINK_NOFOLLOW);
    const auto open = statusOf(descriptor);
    return named && open && identityOf(*named) == identityOf(*open);
}

// Removes an item if nobody has it locked. Whoever makes one locks it right after, finds that it
// has gone when we were first, and makes another.
bool removeIfAbandoned(const FileCalls& calls, int folder, const DirectoryEntry& entry,
                       const Path& path) {
    if (entry.kind != EntryKind::file && entry.kind != EntryKind::folder) return false;
    const FileDescriptor item =
        openAt(folder, entry.name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    if (!item || !lock(item.get(), LOCK_NB)) return false;
    if (!stillHasName(folder, entry.name, item.get())) return false;
    return !removeTree(calls, folder, entry.name.c_str(), path / entry.name);
}

// Makes and locks an item by `make`, which opens what it makes under the name it is given; again
// when it was taken for abandoned before it was locked.
template <class Make>
Result<std::pair<std::string, FileDescriptor>> makeLocked(int folder, std::string_view prefix,
                                                          const std::string& doing, Make make) {
    constexpr int attempts = 100;
    for (int i = 0; i < attempts; ++i) {
        std::string name = temporaryItemName(prefix);
        FileDescriptor item = make(name.c_str());
        if (!item && errno != EEXIST && errno != ENOENT) return posixError(errno, doing);
        if (!item) continue;
        (void)lock(item.get());
        if (stillHasName(folder, name, item.get())) {
            return std::pair(std::move(name), std::move(item));
        }
    }
    return posixError(ENOENT, doing);
}

struct ItemInUse {
    const FileCalls* calls;
    int folder;
    std::string name;
};

// The items of this process by their descriptors, which are theirs alone while they exist. An
// item's folder stays open for as long as it is listed here.
struct ItemsInUse {
    std::timed_mutex mutex;
    std::map<int, ItemInUse> items;
    bool areGivenUp = false;
};

// Never destroyed: threads may still make items while the process ends.
ItemsInUse& itemsInUse() {
    static auto* const items = new ItemsInUse;
    return *items;
}

}  // namespace

std::string temporaryItemName(std::string_view prefix) {
    return std::string(prefix) + generateUUID();
}

Result<TemporaryItem> TemporaryItem::makeFile(const FileCalls& calls, int folder,
                                              std::string_view prefix, mode_t mode,
                                              const std::string& doing) {
    auto made = makeLocked(folder, prefix, doing, [&](const char* name) {
        return openAt(folder, name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
    });
    if (!made) return made.error();
    return entered({calls, folder, std::move(made->first), std::move(made->second)}, doing);
}

Result<TemporaryItem> TemporaryItem::makeFolder(const FileCalls& calls, int folder,
                                                std::string_view prefix, const std::string& doing) {
    auto made = makeLocked(folder, prefix, doing, [&](const char* name) {
        if (::mkdirat(folder, name, S_IRWXU) != 0) return FileDescriptor();
        return openFolderAt(folder, name, O_NOFOLLOW);
    });
    if (!made) return made.error();
    return entered({calls, folder, std::move(made->first), std::move(made->second)}, doing);
}

Result<TemporaryItem> TemporaryItem::entered(TemporaryItem item, const std::string& doing) {
    {
        ItemsInUse& inUse = itemsInUse();
        const std::lock_guard lock(inUse.mutex);
        if (!inUse.areGivenUp) {
            inUse.items.insert_or_assign(item.descriptor(),
                                         ItemInUse{item.calls_, item.folder_, item.name_});
            return item;
        }
    }
    return posixError(ECANCELED, doing);
}

TemporaryItem::~TemporaryItem() {
    if (!descriptor_) return;
    (void)removeTree(*calls_, folder_, name_.c_str(), Path(name_));
    ItemsInUse& inUse = itemsInUse();
    const std::lock_guard lock(inUse.mutex);
    inUse.items.erase(descriptor_.get());
}

int TemporaryItem::publish(const std::string& name) {
    return publishBy([&] {
        return moveWithoutReplacing(*calls_, folder_, name_.c_str(), folder_, name.c_str());
    });
}

int TemporaryItem::publishReplacing(const std::string& name) {
    return publishBy(
        [&] { return ::renameat(folder_, name_.c_str(), folder_, name.c_str()) == 0 ? 0 : errno; });
}

template <class Move>
int TemporaryItem::publishBy(Move move) {
    {
        ItemsInUse& inUse = itemsInUse();
        const std::lock_guard lock(inUse.mutex);
        if (inUse.areGivenUp) return ECANCELED;
        if (const int failed = move()) return failed;
        inUse.items.erase(descriptor_.get());
    }
    descriptor_.reset();
    const int failed = calls_->sync(folder_);
    // Some network file systems keep folders safe by themselves and refuse to be asked.
    return failed == EINVAL || failed == EBADF || failed == EOPNOTSUPP ? 0 : failed;
}

void removeItemsInUse() {
    constexpr auto patience = std::chrono::milliseconds(300);
    // What a thread makes in a tree while it is removed takes another round.
    constexpr int rounds = 10;
    ItemsInUse& inUse = itemsInUse();
    const std::unique_lock lock(inUse.mutex, patience);
    if (!lock) return;
    inUse.areGivenUp = true;
    for (const auto& [descriptor, item] : inUse.items) {
        const auto remove = [&, &item = item] {
            return removeTree(*item.calls, item.folder, item.name.c_str(), Path(item.name));
        };
        for (int round = 0; round < rounds; ++round) {
            const auto error = remove();
            if (!error || error->is(posixErrorDomain, ENOENT)) break;
        }
    }
}

int removeAbandonedItems(const FileCalls& calls, const Path& path) {
    const FileDescriptor folder = openFolderAt(AT_FDCWD, systemName(path));
    if (!folder) return 0;
    std::vector<DirectoryEntry> items;
    const auto isItem = [](std::string_view name, EntryKind) { return isTemporaryItemName(name); };
    if (calls.listFolder(folder.get(), isItem, items) != 0) return 0;
    return static_cast<int>(std::count_if(items.begin(), items.end(), [&](const auto& item) {
        return removeIfAbandoned(calls, folder.get(), item, path);
    }));
}

}  // namespace larkspan::platform
