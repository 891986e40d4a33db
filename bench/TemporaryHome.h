#pragma once

#include "foundation/Path.h"
#include "foundation/Value.h"
#include "platform/linux/LinuxPlatform.h"

namespace larkspan::bench {

// The Linux platform with a home folder of its own that holds the given preferences, removed with
// everything in it at the end. Made before anything else in the process.
class TemporaryHome {
  public:
    explicit TemporaryHome(const Value::Dictionary& preferences);
    TemporaryHome(const TemporaryHome&) = delete;
    TemporaryHome& operator=(const TemporaryHome&) = delete;
    ~TemporaryHome();

    platform::LinuxPlatform& system() { return *system_; }

  private:
    Path folder_;
    std::unique_ptr<platform::LinuxPlatform> system_;
    std::unique_ptr<platform::ScopedPlatform> installed_;
};

}  // namespace larkspan::bench
