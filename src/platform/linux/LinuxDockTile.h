#pragma once

#include "platform/DockTile.h"
#include "platform/linux/AsyncDBus.h"
#include "platform/linux/LoopThread.h"

#include <memory>
#include <mutex>
#include <string>

namespace larkspan::platform {

// The launcher's entry, told by the signal com.canonical.Unity.LauncherEntry.Update on the session
// bus, which several desktops listen to. A bus is never started for it. The first progress starts
// a thread that speaks with the bus.
class LinuxDockTile final : public DockTile {
  public:
    // Reads the environment once, here.
    LinuxDockTile();
    LinuxDockTile(const LinuxDockTile&) = delete;
    LinuxDockTile& operator=(const LinuxDockTile&) = delete;
    // What was shown last is still told, within a second. The desktop forgets it when the
    // connection ends.
    ~LinuxDockTile() override;

    void showProgress(std::optional<double> progress) override;

  private:
    // On the thread only.
    struct Entry {
        ConnectionHandle connection;
        std::unique_ptr<ClosedWatch> closed;
        bool asked = false;
        std::optional<double> latest;
        Cancellation cancellation;  // last, so that it is gone before what its answers use
    };
    void connected(Result<ConnectionHandle> opened);
    void tell();
    void finish(LoopContext& context);

    const std::string busAddress_;  // "" when there is no session bus
    std::once_flag started_;
    std::unique_ptr<LoopThread> thread_;
    std::unique_ptr<Entry> entry_;
};

}  // namespace larkspan::platform
