#pragma once

#include "foundation/Value.h"

#include <functional>
#include <optional>
#include <string>

namespace larkspan::platform {

struct UserNotification {
    std::string applicationName = {};
    std::string title = {};
    std::string description = {};
    std::string notificationName = {};  // the category under which users configure its display
    std::string icon = {};              // name or path of an image; "" for the application's own
    std::optional<Value> context = {};  // handed back on a click or time-out
};

// Short notices on the user's screen. A session without such a service is fine: nothing is shown.
class UserNotifications {
  public:
    using ContextCallback = std::function<void(const std::optional<Value>& context)>;

    virtual ~UserNotifications() = default;

    // Hands the notice over and returns without waiting for the service. Any thread.
    virtual void post(const UserNotification& notification) = 0;

    // Whether callbacks are set.
    virtual bool hasDelegate() const = 0;

    // Called on any thread when the user clicks a notice, or it goes away by itself. Replaces the
    // callbacks before. Any thread.
    virtual void setDelegate(ContextCallback clicked, ContextCallback timedOut) = 0;
};

}  // namespace larkspan::platform
