#include "platform/linux/LinuxMachine.h"

#include <glib.h>
#include <unistd.h>

namespace larkspan::platform {

std::string LinuxMachine::operatingSystemVersion() const {
    char* name = g_get_os_info(G_OS_INFO_KEY_PRETTY_NAME);
    std::string version = name ? name : "Linux";
    g_free(name);
    return version;
}

long LinuxMachine::processorCount() const {
    return sysconf(_SC_NPROCESSORS_ONLN);
}

std::uint64_t LinuxMachine::physicalMemory() const {
    return static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace larkspan::platform
