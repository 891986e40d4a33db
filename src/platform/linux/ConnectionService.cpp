#include "platform/linux/ConnectionService.h"

#include "platform/linux/LoopContext.h"
#include "platform/linux/VariantValue.h"

#include <cassert>
#include <cerrno>
#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gio/gunixconnection.h>
#include <sys/resource.h>
#include <sys/socket.h>

namespace larkspan::platform {
namespace {

constexpr size_t mostConnections = 64;
constexpr rlim_t spareDescriptors = 16;
constexpr Seconds farewell = std::chrono::seconds(1);

// GLib ends the process when it gets no descriptor for its own use, so the last ones are not given
// to connections. A new descriptor has the lowest free number.
bool isAmongLastDescriptors(int descriptor) {
    rlimit limit{};
    return ::getrlimit(RLIMIT_NOFILE, &limit) == 0 &&
           static_cast<rlim_t>(descriptor) + spareDescriptors >= limit.rlim_cur;
}

NodeInfoHandle describeObject(const ServedName& name, const ServedObject& object) {
    std::string xml = "<node><interface name='" + name.interface + "'>";
    for (const auto& [command, unused] : object.commands) {
        xml += "<method name='" + command + "'/>";
    }
    for (const auto& [property, unused] : object.properties) {
        xml += "<property name='" + property + "' type='v' access='read'/>";
    }
    xml += "</interface></node>";
    return NodeInfoHandle(g_dbus_node_info_new_for_xml(xml.c_str(), nullptr));
}

using SharedObject = std::shared_ptr<const ServedObject>;

// GDBus has compared the name and the arguments with the description before it calls these. The
// copy keeps the function alive when it ends the service.
void methodCalled(GDBusConnection*, const char*, const char*, const char*, const char* method,
                  GVariant*, GDBusMethodInvocation* invocation, gpointer data) {
    const SharedObject object = *static_cast<SharedObject*>(data);
    try {
        object->commands.at(method)();
        g_dbus_method_invocation_return_value(invocation, nullptr);
    } catch (const std::exception& failure) {
        g_dbus_method_invocation_return_error_literal(invocation, G_DBUS_ERROR, G_DBUS_ERROR_FAILED,
                                                      textForDBus(failure.what()).c_str());
    }
}

GVariant* propertyAsked(GDBusConnection*, const char*, const char*, const char*,
                        const char* property, GError** error, gpointer data) {
    const SharedObject object = *static_cast<SharedObject*>(data);
    try {
        const VariantHandle value = variantFromValue(object->properties.at(property)());
        return g_variant_new_variant(value.get());
    } catch (const std::exception& failure) {
        g_set_error_literal(error, G_DBUS_ERROR, G_DBUS_ERROR_FAILED,
                            textForDBus(failure.what()).c_str());
        return nullptr;
    }
}

constexpr GDBusInterfaceVTable servedFunctions = {methodCalled, propertyAsked, nullptr, {}};

gboolean allowMechanism(GDBusAuthObserver*, const char* mechanism, gpointer) {
    return std::string_view(mechanism) == "EXTERNAL" ? TRUE : FALSE;
}

GObjectHandle<GDBusAuthObserver> externalOnly() {
    GObjectHandle<GDBusAuthObserver> observer(g_dbus_auth_observer_new());
    g_signal_connect(observer.get(), "allow-mechanism", G_CALLBACK(allowMechanism), nullptr);
    return observer;
}

GObjectHandle<GIOStream> streamOver(FileDescriptor socket) {
    const GObjectHandle<GSocket> owner(g_socket_new_from_fd(socket.get(), nullptr));
    if (!owner) return nullptr;
    (void)socket.release();
    return GObjectHandle<GIOStream>(
        G_IO_STREAM(g_socket_connection_factory_create_connection(owner.get())));
}

// Closing alone would drop what is still to be sent.
void closeGracefully(const std::vector<ConnectionHandle>& connections) {
    LoopContext context;
    const LoopContext::Scope scope(context);
    const auto remaining = std::make_shared<size_t>(connections.size());
    const auto flushed = [](GObject*, GAsyncResult*, gpointer data) {
        const std::unique_ptr<std::shared_ptr<size_t>> count(
            static_cast<std::shared_ptr<size_t>*>(data));
        --**count;
    };
    for (const auto& connection : connections) {
        g_dbus_connection_flush(connection.get(), nullptr, flushed,
                                new std::shared_ptr<size_t>(remaining));
    }
    const auto done = [&] { return *remaining == 0; };
    const bool allFlushed = context.serveUntil(done, farewell);
    for (const auto& connection : connections) {
        g_dbus_connection_close(connection.get(), nullptr, nullptr, nullptr);
    }
    // Closing fails the flushes that a peer who does not read holds up.
    if (!allFlushed) (void)context.serveUntil(done, farewell);
}

}  // namespace

ConnectionService::ConnectionService(LinuxMainThread& mainThread, SocketListener listener,
                                     ServedName name, ServedObject object,
                                     std::shared_ptr<Audience> audience,
                                     Seconds authenticationLimit)
    : mainThread_(mainThread),
      listener_(std::move(listener)),
      name_(std::move(name)),
      object_(std::make_shared<const ServedObject>(std::move(object))),
      audience_(std::move(audience)),
      authenticationLimit_(authenticationLimit),
      description_(describeObject(name_, *object_)),
      guid_(g_dbus_generate_guid()),
      observer_(externalOnly()) {
    listen();
}

ConnectionService::~ConnectionService() {
    assert(mainThread_.isCurrent());
    watch_.reset();
    // While the lock is still held: the next holder's socket has the same name.
    ::unlink(listener_.path.c_str());
    callers_.clear();
    std::vector<ConnectionHandle> connections;
    while (!peers_.empty()) {
        connections.push_back(std::move(peers_.begin()->second.connection));
        forget(peers_.begin()->first);
    }
    if (!connections.empty()) closeGracefully(connections);
}

void ConnectionService::listen() {
    watch_ = mainThread_.watchDescriptor(listener_.socket.get(), [this] { acceptAll(); });
}

void ConnectionService::acceptAll() {
    for (;;) {
        FileDescriptor socket(::accept4(listener_.socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!socket) {
            if (errno == EINTR || errno == ECONNABORTED) continue;
            if (errno != EAGAIN) restLater();
            return;
        }
        // Strangers are turned away before a byte of theirs is read.
        const bool welcome = peers_.size() + callers_.size() < mostConnections &&
                             !isAmongLastDescriptors(socket.get()) && isPeerSameUser(socket.get());
        if (welcome) authenticate(std::move(socket));
    }
}

// Out of descriptors or memory the socket stays readable, and the loop would spin on it.
void ConnectionService::restLater() {
    watch_ = mainThread_.scheduleRepeating(std::chrono::seconds(1), [this] { listen(); });
}

void ConnectionService::authenticate(FileDescriptor socket) {
    const GObjectHandle<GIOStream> stream = streamOver(std::move(socket));
    if (!stream) return;
    // Processing is delayed, so that the first call finds the object.
    constexpr auto flags =
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_SERVER |
                                          G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_REQUIRE_SAME_USER |
                                          G_DBUS_CONNECTION_FLAGS_DELAY_MESSAGE_PROCESSING);
    const auto caller = callers_.emplace(callers_.end());
    caller->limit = mainThread_.scheduleRepeating(authenticationLimit_,
                                                  [this, caller] { callers_.erase(caller); });
    openConnection(
        stream.get(), guid_.get(), flags, observer_.get(), caller->cancellation,
        [this, caller](Result<ConnectionHandle> opened) { admit(caller, std::move(opened)); });
}

void ConnectionService::admit(Callers::iterator caller, Result<ConnectionHandle> opened) {
    callers_.erase(caller);
    if (!opened) return;
    GDBusConnection* connection = opened->get();
    const guint registration = g_dbus_connection_register_object(
        connection, name_.path.c_str(), description_->interfaces[0], &servedFunctions,
        new SharedObject(object_), [](gpointer held) { delete static_cast<SharedObject*>(held); },
        nullptr);
    auto closed =
        std::make_unique<ClosedWatch>(connection, [this, connection] { forget(connection); });
    peers_.emplace(connection, Peer{std::move(opened).value(), registration, std::move(closed)});
    audience_->add(connection, name_);
    g_dbus_connection_start_message_processing(connection);
}

void ConnectionService::forget(GDBusConnection* connection) {
    audience_->remove(connection);
    const auto found = peers_.find(connection);
    if (found == peers_.end()) return;
    g_dbus_connection_unregister_object(connection, found->second.registration);
    peers_.erase(found);
}

}  // namespace larkspan::platform
