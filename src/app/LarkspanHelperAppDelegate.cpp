#include "app/LarkspanHelperAppDelegate.h"

#include "foundation/NotificationCenter.h"
#include "kit/Identifiers.h"

namespace larkspan {

void LarkspanHelperAppDelegate::applicationDidFinishLaunching() {
    controller_ = std::make_unique<AppController>();
    controller_->setup();
}

void LarkspanHelperAppDelegate::applicationWillTerminate() {
    if (controller_) controller_->applicationWillTerminate();
    NotificationCenter::defaultCenter().postNotification(applicationWillTerminateNotification);
}

}  // namespace larkspan
