#pragma once

#include "platform/Connections.h"
#include "platform/linux/AsyncDBus.h"
#include "platform/linux/Audience.h"
#include "platform/linux/LoopContext.h"
#include "platform/posix/FileDescriptor.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace larkspan::platform {

// The other side's view of a named connection. Needs no running loop: it serves a context of its
// own while it waits.
class ConnectionClient final : public Connections::Client {
  public:
    // Speaks D-Bus over a connected socket. Returns when the service has admitted the client, so
    // that no notification from then on is missed.
    static Result<std::unique_ptr<Connections::Client>> open(FileDescriptor socket, ServedName name,
                                                             Seconds timeout);
    ConnectionClient(const ConnectionClient&) = delete;
    ConnectionClient& operator=(const ConnectionClient&) = delete;
    ~ConnectionClient() override;

    std::optional<Error> call(const std::string& command, Seconds timeout) override;
    Result<Value> property(const std::string& name, Seconds timeout) override;
    Result<bool> waitForNotification(const std::string& name, Seconds timeout) override;

  private:
    explicit ConnectionClient(ServedName name) : name_(std::move(name)) {}
    std::optional<Error> authenticate(FileDescriptor socket, Seconds timeout);
    void listen();
    Result<VariantHandle> callSync(const char* interface, const char* member, GVariant* parameters,
                                   const char* replyType, Seconds timeout);

    const ServedName name_;
    LoopContext context_;
    ConnectionHandle connection_;
    std::unique_ptr<SignalSubscription> notifications_;
    std::unique_ptr<ClosedWatch> closed_;
    std::map<std::string, size_t> arrived_;  // and not yet waited for
    bool lost_ = false;
};

}  // namespace larkspan::platform
