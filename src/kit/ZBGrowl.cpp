#include "kit/ZBGrowl.h"

#include "foundation/NotificationCenter.h"
#include "kit/Preferences.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"
#include "platform/UserNotifications.h"

namespace larkspan {
namespace {

void postLocally(const char* name, const std::optional<Value>& context) {
    if (!context) return;
    (void)platform::Platform::current().mainThread.performAndWait([&] {
        NotificationCenter::defaultCenter().postNotification(
            name, Value::Dictionary{{"clickContext", *context}});
    });
}

bool areNoticesDisabled() {
    const Preferences preferences = Preferences::organisation();
    const Value* disabled = preferences.object("growlDisabled");
    return disabled && disabled->booleanValue();
}

}  // namespace

ZBGrowl& ZBGrowl::defaultController() {
    static ZBGrowl controller;
    return controller;
}

void ZBGrowl::postGrowlNotification(const std::string& title, const std::string& description,
                                    const std::string& icon, const std::string& notificationName) {
    postGrowlNotification(title, description, icon, notificationName,
                          Value(platform::Platform::current().clock.now()));
}

void ZBGrowl::postGrowlNotification(const std::string& title, const std::string& description,
                                    const std::string& icon, const std::string& notificationName,
                                    std::optional<Value> clickContext) {
    if (areNoticesDisabled()) return;
    platform::UserNotifications& service = platform::Platform::current().userNotifications;
    if (!service.hasDelegate()) {
        ZBGrowl& controller = defaultController();
        service.setDelegate(
            [&controller](const auto& context) { controller.growlNotificationWasClicked(context); },
            [&controller](const auto& context) { controller.growlNotificationTimedOut(context); });
    }
    service.post(
        {.applicationName = applicationNameForGrowl(),
         .title = title,
         .description = description,
         .notificationName = notificationName.empty() ? "ZBInfoNotification" : notificationName,
         .icon = icon,
         .context = std::move(clickContext)});
}

void ZBGrowl::growlNotificationWasClicked(const std::optional<Value>& context) {
    postLocally("ZBGrowlAlertClicked", context);
}

void ZBGrowl::growlNotificationTimedOut(const std::optional<Value>& context) {
    postLocally("ZBGrowlAlertTimedOut", context);
}

std::string ZBGrowl::applicationNameForGrowl() {
    const platform::Bundle bundle = platform::Platform::current().bundles.mainBundle();
    const std::string name = bundle.infoString("CFBundleDisplayName");
    return name.empty() ? bundle.infoString("CFBundleExecutable") : name;
}

}  // namespace larkspan
