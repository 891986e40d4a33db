#pragma once

#include "platform/Files.h"
#include "platform/posix/FileDescriptor.h"

#include <vector>

namespace larkspan::platform {

// The open folders from the top of a walk down to where it is. However deep that is, only the
// lowest few stay open; those above are opened again on the way back.
class FolderChain {
  public:
    // The top stays the caller's and must stay open.
    explicit FolderChain(int top) : top_(top) {}

    int current() const { return levels_.empty() ? top_ : levels_.back().descriptor.get(); }

    // Goes down into an open folder that lies in the current one.
    void enter(FileDescriptor folder);

    // Goes up one and hands over the folder it leaves. 0 or an errno value: ESTALE when that has
    // been moved somewhere else.
    int leave(FileDescriptor& left);

  private:
    struct Level {
        FileDescriptor descriptor;
        FileIdentity identity;  // known when closed
    };
    static constexpr size_t openLevels = 16;

    int top_;
    std::vector<Level> levels_;
};

}  // namespace larkspan::platform
