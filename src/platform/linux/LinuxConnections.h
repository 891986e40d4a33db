#pragma once

#include "foundation/Path.h"
#include "platform/Connections.h"
#include "platform/linux/LinuxMainThread.h"
#include "platform/linux/SocketFolder.h"

#include <memory>
#include <optional>

namespace larkspan::platform {

class Audience;

// Named connections as D-Bus from peer to peer over a Unix socket; no bus daemon is needed.
// A name such as LarkspanHelper is the socket LarkspanHelper.socket in the folder that
// chooseSocketFolder() tells, the object /LarkspanHelper and the interface
// com.corvane.LarkspanHelper. Commands are its methods, facts its properties (of type v, see
// VariantValue.h), distributed notifications its signals. So names of services, commands, facts
// and notifications consist of letters, digits and "_" and do not start with a digit: others
// cannot be served, nobody serves them, and a notification of such a name reaches nobody.
//
// Only processes of this user are let in. A service holds at most 64 connections and closes those
// above, and new ones while the process is short of descriptors; one that does not authenticate in
// time is closed. Clients work without a main loop.
class LinuxConnections final : public Connections {
  public:
    struct Options {
        std::optional<Path> socketFolder = {};  // instead of the one that the environment tells
        // How long serve() blocks while another process still holds the name: one that has just
        // been killed needs a moment to go.
        Seconds patience = std::chrono::seconds(2);
        Seconds authenticationLimit = std::chrono::seconds(5);
    };

    // Reads the environment once, here. The main thread must outlive this and every service.
    explicit LinuxConnections(LinuxMainThread& mainThread) : LinuxConnections(mainThread, {}) {}
    LinuxConnections(LinuxMainThread& mainThread, Options options);
    ~LinuxConnections() override;

    Result<std::unique_ptr<Service>> serve(const std::string& name, ServedObject object) override;
    Result<std::unique_ptr<Client>> connect(const std::string& name, Seconds timeout) override;
    void postDistributedNotification(const std::string& name) override;

  private:
    Path folderFor(const std::string& name) const;

    LinuxMainThread& mainThread_;
    const Options options_;
    const SocketFacts facts_;
    const std::shared_ptr<Audience> audience_;  // shared with the services
};

}  // namespace larkspan::platform
