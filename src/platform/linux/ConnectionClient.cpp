#include "platform/linux/ConnectionClient.h"

#include "platform/linux/VariantValue.h"

#include <chrono>
#include <utility>

#include <gio/gunixconnection.h>

namespace larkspan::platform {
namespace {

constexpr Seconds clearingUp = std::chrono::seconds(5);

Error errorOfCall(const ErrorSlot& failure) {
    const auto is = [&](GQuark domain, int code) { return failure.matches(domain, code); };
    long code = ConnectionErrorCode::refused;
    if (is(G_IO_ERROR, G_IO_ERROR_TIMED_OUT) || is(G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY) ||
        is(G_DBUS_ERROR, G_DBUS_ERROR_TIMEOUT)) {
        code = ConnectionErrorCode::timedOut;
    } else if (is(G_DBUS_ERROR, G_DBUS_ERROR_DISCONNECTED) ||
               (failure.isIn(G_IO_ERROR) && !is(G_IO_ERROR, G_IO_ERROR_INVALID_ARGUMENT))) {
        code = ConnectionErrorCode::connectionLost;
    }
    return connectionError(code, failure.error().description);
}

}  // namespace

Result<std::unique_ptr<Connections::Client>> ConnectionClient::open(FileDescriptor socket,
                                                                    ServedName name,
                                                                    Seconds timeout) {
    const auto start = std::chrono::steady_clock::now();
    std::unique_ptr<ConnectionClient> client(new ConnectionClient(std::move(name)));
    if (auto error = client->authenticate(std::move(socket), timeout)) return *error;
    client->listen();
    // The service answers only after it has added this connection to its audience.
    const Seconds spent = std::chrono::steady_clock::now() - start;
    const auto answer =
        client->callSync("org.freedesktop.DBus.Peer", "Ping", nullptr, "()", timeout - spent);
    if (!answer) return answer.error();
    return std::unique_ptr<Connections::Client>(std::move(client));
}

ConnectionClient::~ConnectionClient() {
    if (!connection_) return;
    closed_.reset();
    notifications_.reset();
    g_dbus_connection_close_sync(connection_.get(), nullptr, nullptr);
}

std::optional<Error> ConnectionClient::authenticate(FileDescriptor socket, Seconds timeout) {
    const GObjectHandle<GSocket> owner(g_socket_new_from_fd(socket.get(), nullptr));
    if (!owner) return connectionError(ConnectionErrorCode::refused, "the socket cannot be used");
    (void)socket.release();
    const GObjectHandle<GIOStream> stream(
        G_IO_STREAM(g_socket_connection_factory_create_connection(owner.get())));

    const LoopContext::Scope scope(context_);
    Cancellation cancellation;
    std::optional<Error> failure;
    openConnection(stream.get(), nullptr, G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT, nullptr,
                   cancellation, [&](Result<ConnectionHandle> opened) {
                       if (opened) {
                           connection_ = std::move(opened).value();
                       } else {
                           failure = opened.error();
                       }
                   });
    const auto settled = [&] { return !cancellation.isPending(); };
    if (!context_.serveUntil(settled, timeout)) {
        cancellation.cancel();
        (void)context_.serveUntil(settled, clearingUp);
        return connectionError(ConnectionErrorCode::timedOut, name_.name + " does not answer");
    }
    if (failure) return connectionError(ConnectionErrorCode::refused, failure->description);
    return std::nullopt;
}

void ConnectionClient::listen() {
    const LoopContext::Scope scope(context_);
    notifications_ = std::make_unique<SignalSubscription>(
        connection_.get(), SignalMatch{nullptr, name_.path.c_str(), name_.interface.c_str()},
        [this](const char* member, GVariant*) { ++arrived_[member]; });
    closed_ = std::make_unique<ClosedWatch>(connection_.get(), [this] { lost_ = true; });
}

Result<VariantHandle> ConnectionClient::callSync(const char* interface, const char* member,
                                                 GVariant* parameters, const char* replyType,
                                                 Seconds timeout) {
    ErrorSlot error;
    VariantHandle reply(g_dbus_connection_call_sync(
        connection_.get(), nullptr, name_.path.c_str(), interface, member, parameters,
        G_VARIANT_TYPE(replyType), G_DBUS_CALL_FLAGS_NONE, millisecondsForGlib(timeout), nullptr,
        error.out()));
    if (!reply) return errorOfCall(error);
    return reply;
}

std::optional<Error> ConnectionClient::call(const std::string& command, Seconds timeout) {
    if (!g_dbus_is_member_name(command.c_str())) {
        return connectionError(ConnectionErrorCode::refused, "no command: " + command);
    }
    const auto reply = callSync(name_.interface.c_str(), command.c_str(), nullptr, "()", timeout);
    if (!reply) return reply.error();
    return std::nullopt;
}

Result<Value> ConnectionClient::property(const std::string& name, Seconds timeout) {
    const auto reply = callSync(
        "org.freedesktop.DBus.Properties", "Get",
        g_variant_new("(ss)", name_.interface.c_str(), textForDBus(name).c_str()), "(v)", timeout);
    if (!reply) return reply.error();
    const VariantHandle content(g_variant_get_child_value(reply->get(), 0));
    Result<Value> value = valueFromVariant(content.get());
    if (!value) return connectionError(ConnectionErrorCode::refused, value.error().description);
    return value;
}

Result<bool> ConnectionClient::waitForNotification(const std::string& name, Seconds timeout) {
    const auto waiting = [&] { return arrived_.find(name); };
    const auto settled = [&] { return waiting() != arrived_.end() || lost_; };
    (void)context_.serveUntil(settled, timeout);
    const auto found = waiting();
    if (found == arrived_.end()) {
        if (!lost_) return false;
        return connectionError(ConnectionErrorCode::connectionLost, "the connection has ended");
    }
    if (--found->second == 0) arrived_.erase(found);
    return true;
}

}  // namespace larkspan::platform
