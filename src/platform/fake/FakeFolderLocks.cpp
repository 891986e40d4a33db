#include "platform/fake/FakeFolderLocks.h"

namespace larkspan::platform {

class FakeFolderLocks::Lock final : public FolderLock {
  public:
    Lock(FakeFolderLocks& locks, Path folder) : locks_(locks), folder_(std::move(folder)) {}
    ~Lock() override {
        {
            const std::lock_guard guard(locks_.mutex_);
            locks_.held_.erase(folder_);
        }
        locks_.released_.notify_all();
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

  private:
    FakeFolderLocks& locks_;
    Path folder_;
};

std::unique_ptr<FolderLock> FakeFolderLocks::take(const Path& folder, Seconds patience) {
    std::unique_lock guard(mutex_);
    if (!released_.wait_for(guard, patience, [&] { return !held_.contains(folder); })) return {};
    held_.insert(folder);
    return std::make_unique<Lock>(*this, folder);
}

}  // namespace larkspan::platform
