#pragma once

#include "foundation/Guarded.h"
#include "platform/linux/GObjectHandle.h"

#include <map>
#include <string>

namespace larkspan::platform {

// How a service is called on D-Bus.
struct ServedName {
    explicit ServedName(std::string served)
        : name(std::move(served)), path("/" + name), interface("com.corvane." + name) {}

    const std::string name;
    const std::string path;
    const std::string interface;
};

// Every connection of every service of this process. Any thread.
class Audience {
  public:
    void add(GDBusConnection* connection, const ServedName& name) {
        members_.with([&](auto& members) {
            members.insert_or_assign(connection,
                                     Member{retained(connection), name.path, name.interface});
        });
    }
    void remove(GDBusConnection* connection) {
        members_.with([&](auto& members) { members.erase(connection); });
    }
    // Sends the signal `member` to everybody; does not wait for them.
    void tell(const std::string& member) const {
        members_.with([&](const auto& members) {
            for (const auto& [connection, at] : members) {
                // Fails only for a connection that is closing.
                g_dbus_connection_emit_signal(connection, nullptr, at.path.c_str(),
                                              at.interface.c_str(), member.c_str(), nullptr,
                                              nullptr);
            }
        });
    }

  private:
    struct Member {
        ConnectionHandle connection;
        std::string path;
        std::string interface;
    };
    Guarded<std::map<GDBusConnection*, Member>> members_;
};

}  // namespace larkspan::platform
