#include "platform/linux/SessionBus.h"

#include "platform/linux/GObjectHandle.h"

#include <cstdlib>

#include <unistd.h>

namespace larkspan::platform {

std::string sessionBusAddress() {
    if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address && *address) {
        const std::string text = address;
        const bool starts = text.find("autolaunch:") != std::string::npos;
        return !starts && g_dbus_is_supported_address(address, nullptr) ? text : "";
    }
    const char* runtimeFolder = std::getenv("XDG_RUNTIME_DIR");
    if (!runtimeFolder || *runtimeFolder != '/') return "";
    const std::string socket = std::string(runtimeFolder) + "/bus";
    if (::access(socket.c_str(), F_OK) != 0) return "";
    return std::string("unix:path=") +
           TextHandle(g_dbus_address_escape_value(socket.c_str())).get();
}

}  // namespace larkspan::platform
