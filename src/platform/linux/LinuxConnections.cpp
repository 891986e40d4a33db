#include "platform/linux/LinuxConnections.h"

#include "platform/linux/Audience.h"
#include "platform/linux/ConnectionClient.h"
#include "platform/linux/ConnectionService.h"

#include <cassert>
#include <cerrno>
#include <chrono>
#include <utility>

namespace larkspan::platform {
namespace {

bool isName(const std::string& name) {
    return g_dbus_is_member_name(name.c_str()) != FALSE;
}

bool hasOnlyNames(const auto& functions) {
    for (const auto& [name, unused] : functions) {
        if (!isName(name)) return false;
    }
    return true;
}

}  // namespace

LinuxConnections::LinuxConnections(LinuxMainThread& mainThread, Options options)
    : mainThread_(mainThread),
      options_(std::move(options)),
      facts_(SocketFacts::fromEnvironment()),
      audience_(std::make_shared<Audience>()) {}

LinuxConnections::~LinuxConnections() = default;

Path LinuxConnections::folderFor(const std::string& name) const {
    return options_.socketFolder ? *options_.socketFolder : chooseSocketFolder(facts_, name);
}

Result<std::unique_ptr<Connections::Service>> LinuxConnections::serve(const std::string& name,
                                                                      ServedObject object) {
    assert(mainThread_.isCurrent());
    if (!isName(name) || !hasOnlyNames(object.commands) || !hasOnlyNames(object.properties)) {
        return posixError(EINVAL, "serving \"" + name + '"');
    }
    Result<SocketListener> listener = listenInFolder(folderFor(name), name, options_.patience);
    if (!listener) return listener.error();
    return std::unique_ptr<Service>(std::make_unique<ConnectionService>(
        mainThread_, std::move(listener).value(), ServedName(name), std::move(object), audience_,
        options_.authenticationLimit));
}

Result<std::unique_ptr<Connections::Client>> LinuxConnections::connect(const std::string& name,
                                                                       Seconds timeout) {
    if (!isName(name)) {
        return connectionError(ConnectionErrorCode::nobodyServes, "nobody serves \"" + name + '"');
    }
    const auto start = std::chrono::steady_clock::now();
    Result<FileDescriptor> socket = connectInFolder(folderFor(name), name, timeout);
    if (!socket) return socket.error();
    const Seconds spent = std::chrono::steady_clock::now() - start;
    return ConnectionClient::open(std::move(socket).value(), ServedName(name), timeout - spent);
}

void LinuxConnections::postDistributedNotification(const std::string& name) {
    if (isName(name)) audience_->tell(name);
}

}  // namespace larkspan::platform
