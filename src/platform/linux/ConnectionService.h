#pragma once

#include "platform/Connections.h"
#include "platform/linux/AsyncDBus.h"
#include "platform/linux/Audience.h"
#include "platform/linux/LinuxMainThread.h"
#include "platform/linux/SocketFolder.h"

#include <list>
#include <map>
#include <memory>

namespace larkspan::platform {

// The serving side of a named connection. Main thread only.
class ConnectionService final : public Connections::Service {
  public:
    ConnectionService(LinuxMainThread& mainThread, SocketListener listener, ServedName name,
                      ServedObject object, std::shared_ptr<Audience> audience,
                      Seconds authenticationLimit);
    ConnectionService(const ConnectionService&) = delete;
    ConnectionService& operator=(const ConnectionService&) = delete;
    // What was sent before is still handed over, within a second.
    ~ConnectionService() override;

  private:
    // Somebody who has connected and not yet said who he is.
    struct Caller {
        Cancellation cancellation;
        std::unique_ptr<MainThread::Timer> limit;
    };
    struct Peer {
        ConnectionHandle connection;
        guint registration;
        std::unique_ptr<ClosedWatch> closed;
    };
    using Callers = std::list<Caller>;

    void listen();
    void acceptAll();
    void restLater();
    void authenticate(FileDescriptor socket);
    void admit(Callers::iterator caller, Result<ConnectionHandle> opened);
    void forget(GDBusConnection* connection);

    LinuxMainThread& mainThread_;
    const SocketListener listener_;
    const ServedName name_;
    const std::shared_ptr<const ServedObject> object_;
    const std::shared_ptr<Audience> audience_;
    const Seconds authenticationLimit_;
    const NodeInfoHandle description_;
    const TextHandle guid_;
    const GObjectHandle<GDBusAuthObserver> observer_;
    std::unique_ptr<MainThread::Timer> watch_;  // of the listening socket, or the rest from it
    Callers callers_;
    std::map<GDBusConnection*, Peer> peers_;
};

}  // namespace larkspan::platform
