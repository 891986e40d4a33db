#pragma once

#include "foundation/Value.h"

#include <optional>
#include <string>

namespace larkspan {

// Short notices to the user. Nothing is shown when the organisation's preferences switch them off
// (growlDisabled). Any thread.
//
//   ZBGrowl::postGrowlNotification("Found new project", "Cut.fcp", "", "Backup successful");
class ZBGrowl {
  public:
    static ZBGrowl& defaultController();
    ZBGrowl(const ZBGrowl&) = delete;
    ZBGrowl& operator=(const ZBGrowl&) = delete;

    // `icon` is a picture's name or path, "" for the application's own; `notificationName` the
    // category under which the user configures the display, "" for "ZBInfoNotification". The click
    // context is the current date.
    static void postGrowlNotification(const std::string& title, const std::string& description,
                                      const std::string& icon = {},
                                      const std::string& notificationName = {});
    // With a click context of the caller's, which comes back in the notifications below.
    static void postGrowlNotification(const std::string& title, const std::string& description,
                                      const std::string& icon, const std::string& notificationName,
                                      std::optional<Value> clickContext);

    // Called when the user clicks a notice or it goes away by itself: post the local notification
    // "ZBGrowlAlertClicked" or "ZBGrowlAlertTimedOut", with the context under "clickContext", on
    // the main thread and return when it is delivered. Nothing is posted without a context.
    void growlNotificationWasClicked(const std::optional<Value>& context);
    void growlNotificationTimedOut(const std::optional<Value>& context);

    // Under which name the program's notices appear.
    static std::string applicationNameForGrowl();

  private:
    ZBGrowl() = default;
};

}  // namespace larkspan
