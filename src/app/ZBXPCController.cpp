#include "app/ZBXPCController.h"

#include "kit/Identifiers.h"
#include "platform/Platform.h"

namespace larkspan {

void ZBXPCController::updateConfiguration() const {
    if (delegate_) delegate_->setup();
}

void ZBXPCController::startBackupScan() const {
    if (delegate_) delegate_->beginScheduledBackup();
}

void ZBXPCController::filesBackedUp() const {
    platform::Platform::current().connections.postDistributedNotification(
        filesBackedUpNotification);
}

platform::ServedObject ZBXPCController::servedObject() const {
    return {.commands = {{"updateConfiguration", [this] { updateConfiguration(); }},
                         {"startBackupScan", [this] { startBackupScan(); }},
                         {"filesBackedUp", [this] { filesBackedUp(); }}},
            .properties = {}};
}

}  // namespace larkspan
