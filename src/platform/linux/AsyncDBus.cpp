#include "platform/linux/AsyncDBus.h"

#include "platform/linux/LoopContext.h"

#include <utility>

namespace larkspan::platform {
namespace {

// An answer on its way through GLib.
template <class Handle>
struct Awaited {
    std::function<void(Result<Handle>)> answer;
    std::shared_ptr<GCancellable> token;

    static gpointer make(std::function<void(Result<Handle>)> answer,
                         const Cancellation& cancellation) {
        return new Awaited{std::move(answer), cancellation.token()};
    }
    static void deliver(gpointer data, Handle result, const ErrorSlot& error) {
        const std::unique_ptr<Awaited> awaited(static_cast<Awaited*>(data));
        if (g_cancellable_is_cancelled(awaited->token.get())) return;
        if (result) {
            awaited->answer(std::move(result));
        } else {
            awaited->answer(error.error());
        }
    }
};

// A connection that has ended before its owner could watch for that would never end for it: what
// announces the end comes once, in this context. From here on the owner has until it returns.
void deliverConnection(gpointer data, ConnectionHandle connection, ErrorSlot& error) {
    if (connection) {
        // A peer that goes away must not take the process along.
        g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
        if (g_dbus_connection_is_closed(connection.get())) {
            g_set_error_literal(error.out(), G_IO_ERROR, G_IO_ERROR_CLOSED, "closed at once");
            connection.reset();
        }
    }
    Awaited<ConnectionHandle>::deliver(data, std::move(connection), error);
}

void connectionOpened(GObject*, GAsyncResult* result, gpointer data) {
    ErrorSlot error;
    ConnectionHandle connection(g_dbus_connection_new_finish(result, error.out()));
    deliverConnection(data, std::move(connection), error);
}

void busOpened(GObject*, GAsyncResult* result, gpointer data) {
    ErrorSlot error;
    ConnectionHandle connection(g_dbus_connection_new_for_address_finish(result, error.out()));
    deliverConnection(data, std::move(connection), error);
}

void methodAnswered(GObject* connection, GAsyncResult* result, gpointer data) {
    ErrorSlot error;
    VariantHandle reply(
        g_dbus_connection_call_finish(G_DBUS_CONNECTION(connection), result, error.out()));
    Awaited<VariantHandle>::deliver(data, std::move(reply), error);
}

using SharedCallback = std::shared_ptr<const SignalSubscription::Callback>;

void signalReceived(GDBusConnection*, const char*, const char*, const char*, const char* member,
                    GVariant* parameters, gpointer data) {
    const SharedCallback callback = *static_cast<SharedCallback*>(data);
    (*callback)(member, parameters);
}

using SharedClosed = std::shared_ptr<const std::function<void()>>;

void connectionClosed(GDBusConnection*, gboolean, GError*, gpointer data) {
    const SharedClosed callback = *static_cast<SharedClosed*>(data);
    (*callback)();
}

}  // namespace

void openConnection(GIOStream* stream, const char* guid, GDBusConnectionFlags flags,
                    GDBusAuthObserver* observer, const Cancellation& cancellation,
                    ConnectionAnswer answer) {
    g_dbus_connection_new(stream, guid, flags, observer, cancellation.token().get(),
                          connectionOpened,
                          Awaited<ConnectionHandle>::make(std::move(answer), cancellation));
}

void openBus(const std::string& address, const Cancellation& cancellation,
             ConnectionAnswer answer) {
    constexpr auto flags =
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    g_dbus_connection_new_for_address(
        address.c_str(), flags, nullptr, cancellation.token().get(), busOpened,
        Awaited<ConnectionHandle>::make(std::move(answer), cancellation));
}

void callMethod(GDBusConnection* connection, const BusMethod& method, GVariant* parameters,
                const char* replyType, Seconds timeout, const Cancellation& cancellation,
                VariantAnswer answer) {
    g_dbus_connection_call(connection, method.destination, method.path, method.interface,
                           method.member, parameters, G_VARIANT_TYPE(replyType),
                           G_DBUS_CALL_FLAGS_NONE, millisecondsForGlib(timeout),
                           cancellation.token().get(), methodAnswered,
                           Awaited<VariantHandle>::make(std::move(answer), cancellation));
}

SignalSubscription::SignalSubscription(GDBusConnection* connection, const SignalMatch& match,
                                       Callback callback)
    : connection_(retained(connection)) {
    auto data =
        std::make_unique<SharedCallback>(std::make_shared<const Callback>(std::move(callback)));
    id_ = g_dbus_connection_signal_subscribe(
        connection, match.sender, match.interface, match.member, match.path, match.firstArgument,
        G_DBUS_SIGNAL_FLAGS_NONE, signalReceived, data.release(),
        [](gpointer held) { delete static_cast<SharedCallback*>(held); });
}

SignalSubscription::~SignalSubscription() {
    g_dbus_connection_signal_unsubscribe(connection_.get(), id_);
}

ClosedWatch::ClosedWatch(GDBusConnection* connection, std::function<void()> callback)
    : connection_(retained(connection)) {
    auto data = std::make_unique<SharedClosed>(
        std::make_shared<const std::function<void()>>(std::move(callback)));
    id_ = g_signal_connect_data(
        connection, "closed", G_CALLBACK(connectionClosed), data.release(),
        [](gpointer held, GClosure*) { delete static_cast<SharedClosed*>(held); },
        static_cast<GConnectFlags>(0));
}

ClosedWatch::~ClosedWatch() {
    g_signal_handler_disconnect(connection_.get(), id_);
}

}  // namespace larkspan::platform
