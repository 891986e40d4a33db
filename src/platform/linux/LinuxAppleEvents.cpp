#include "platform/linux/LinuxAppleEvents.h"

namespace larkspan::platform {

Result<std::vector<AppleEventDescriptor>> LinuxAppleEvents::send(const AppleEvent& event,
                                                                 const AppleEventSending&) {
    return Error{appleEventErrorDomain, eventNotSent,
                 "The application " + event.target.data + " is not running."};
}

}  // namespace larkspan::platform
