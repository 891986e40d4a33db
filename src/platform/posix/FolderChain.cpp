#include "platform/posix/FolderChain.h"

#include "platform/posix/FileFacts.h"
#include "platform/posix/SystemCall.h"

namespace larkspan::platform {

void FolderChain::enter(FileDescriptor folder) {
    levels_.push_back({std::move(folder), {}});
    if (levels_.size() <= openLevels) return;
    Level& far = levels_[levels_.size() - 1 - openLevels];
    if (!far.descriptor) return;
    const auto status = statusOf(far.descriptor.get());
    if (!status) return;
    far.identity = identityOf(*status);
    far.descriptor.reset();
}

int FolderChain::leave(FileDescriptor& left) {
    left = std::move(levels_.back().descriptor);
    levels_.pop_back();
    if (levels_.empty() || levels_.back().descriptor) return 0;
    Level& above = levels_.back();
    above.descriptor = openFolderAt(left.get(), "..");
    if (!above.descriptor) return errno;
    const auto status = statusOf(above.descriptor.get());
    return status && identityOf(*status) == above.identity ? 0 : ESTALE;
}

}  // namespace larkspan::platform
