#pragma once

#include "foundation/Guarded.h"
#include "platform/UserNotifications.h"
#include "platform/linux/LoopThread.h"
#include "platform/linux/NotificationDesk.h"

#include <memory>
#include <mutex>
#include <string>

namespace larkspan::platform {

// Notices through org.freedesktop.Notifications on the session bus. A bus is never started for
// them. The first notice starts a thread that speaks with the service and calls the delegate;
// a click is the notice's default action. The newest 256 notices answer to clicks, older ones are
// forgotten, as are all when the service ends.
class LinuxUserNotifications final : public UserNotifications {
  public:
    // Reads the environment once, here.
    LinuxUserNotifications();
    LinuxUserNotifications(const LinuxUserNotifications&) = delete;
    LinuxUserNotifications& operator=(const LinuxUserNotifications&) = delete;
    // What was posted before is still handed over, within a second.
    ~LinuxUserNotifications() override;

    void post(const UserNotification& notification) override;
    bool hasDelegate() const override;
    void setDelegate(ContextCallback clicked, ContextCallback timedOut) override;

  private:
    struct Delegate {
        ContextCallback clicked;
        ContextCallback timedOut;
    };
    void tell(NoticeEnd end, const std::optional<Value>& context) const;
    void finish(LoopContext& context);

    const std::string busAddress_;  // "" when there is no session bus
    Guarded<Delegate> delegate_;
    std::once_flag started_;
    std::unique_ptr<LoopThread> thread_;
    std::unique_ptr<NotificationDesk> desk_;  // on the thread only
};

}  // namespace larkspan::platform
