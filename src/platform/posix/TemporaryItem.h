#pragma once

#include "platform/posix/FileCalls.h"
#include "platform/posix/FileDescriptor.h"

#include <string>
#include <string_view>

#include <sys/types.h>

namespace larkspan::platform {

// A new name of a temporary item: the prefix and something unique.
std::string temporaryItemName(std::string_view prefix);

// A file or folder that is being made under a hidden name of its own. It is locked while it
// exists, so that others can tell it from one that a killed process left, and it is removed with
// everything in it unless it was given its name at last.
class TemporaryItem {
  public:
    // In an open folder that must stay open. `doing` begins the text of errors.
    static Result<TemporaryItem> makeFile(const FileCalls& calls, int folder,
                                          std::string_view prefix, mode_t mode,
                                          const std::string& doing);
    static Result<TemporaryItem> makeFolder(const FileCalls& calls, int folder,
                                            std::string_view prefix, const std::string& doing);
    TemporaryItem(TemporaryItem&&) = default;
    TemporaryItem& operator=(TemporaryItem&&) = delete;
    ~TemporaryItem();

    int descriptor() const { return descriptor_.get(); }

    // Give it its name and return when that is on disk. 0 or an errno value; EEXIST when something
    // is there that may not be replaced.
    int publish(const std::string& name);
    int publishReplacing(const std::string& name);

  private:
    TemporaryItem(const FileCalls& calls, int folder, std::string name, FileDescriptor descriptor)
        : calls_(&calls),
          folder_(folder),
          name_(std::move(name)),
          descriptor_(std::move(descriptor)) {}
    static Result<TemporaryItem> entered(TemporaryItem item, const std::string& doing);
    // Moves the item to its name by `move`, which gives 0 or an errno value.
    template <class Move>
    int publishBy(Move move);

    const FileCalls* calls_;
    int folder_;
    std::string name_;
    FileDescriptor descriptor_;  // owns nothing once it was published or moved from
};

// Removes the temporary items that this process uses, and lets none be made or get its name any
// more: for the last moment of a process that does not wait for what its threads are doing. Any
// thread; takes little more time than the removal.
void removeItemsInUse();

// Removes the temporary items in a folder that no running process uses. Returns how many went.
int removeAbandonedItems(const FileCalls& calls, const Path& folder);

}  // namespace larkspan::platform
