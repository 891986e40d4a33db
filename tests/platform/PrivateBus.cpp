#include "PrivateBus.h"

#include "platform/posix/FileDescriptor.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <utility>

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace larkspan::platform {
namespace {

std::string configuration(const std::string& socket) {
    return "<busconfig><type>session</type><listen>unix:path=" + socket +
           "</listen><auth>EXTERNAL</auth><policy context='default'>"
           "<allow send_destination='*' eavesdrop='true'/><allow eavesdrop='true'/>"
           "<allow own='*'/></policy></busconfig>";
}

void methodCalled(GDBusConnection*, const char*, const char* path, const char*, const char* member,
                  GVariant* parameters, GDBusMethodInvocation* invocation, gpointer data) {
    const auto& answer = *static_cast<const BusProgram::Answer*>(data);
    if (GVariant* result = answer({path, member, parameters})) {
        g_dbus_method_invocation_return_value(invocation, result);
    } else {
        g_dbus_method_invocation_return_dbus_error(invocation, "com.corvane.Test.No", "no");
    }
}

constexpr GDBusInterfaceVTable functions = {methodCalled, nullptr, nullptr, {}};

}  // namespace

std::unique_ptr<PrivateBus> PrivateBus::start() {
    std::unique_ptr<PrivateBus> bus(new PrivateBus);
    const std::string socket = (bus->folder_.path() / "bus").str();
    const std::string file = (bus->folder_.path() / "bus.conf").str();
    std::ofstream(file) << configuration(socket);

    int ends[2];
    if (::pipe(ends) != 0) throw std::runtime_error("no pipe");
    const FileDescriptor told(ends[0]);
    FileDescriptor telling(ends[1]);
    const std::string config = "--config-file=" + file;
    const std::string print = "--print-address=" + std::to_string(telling.get());
    const pid_t process = ::fork();
    if (process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (!std::freopen("/dev/null", "w", stderr)) ::_exit(127);
        ::execlp("dbus-daemon", "dbus-daemon", config.c_str(), print.c_str(), "--nofork", nullptr);
        ::_exit(127);
    }
    bus->process_ = process;
    telling.reset();
    char text[512];
    const ssize_t length = ::read(told.get(), text, sizeof text);
    if (length <= 0) return nullptr;
    bus->address_ = std::string(text, static_cast<size_t>(length) - 1);
    return bus;
}

void PrivateBus::stop() {
    const pid_t process = std::exchange(process_, 0);
    if (process == 0) return;
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
}

BusProgram::BusProgram(const std::string& busAddress, const char* name, Answer answer)
    : answer_(std::move(answer)) {
    constexpr auto flags =
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    connection_.reset(g_dbus_connection_new_for_address_sync(busAddress.c_str(), flags, nullptr,
                                                             nullptr, nullptr));
    if (!connection_) throw std::runtime_error("no bus");
    const VariantHandle reply(g_dbus_connection_call_sync(
        connection_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "RequestName", g_variant_new("(su)", name, guint32{0}), nullptr, G_DBUS_CALL_FLAGS_NONE,
        10'000, nullptr, nullptr));
    if (!reply) throw std::runtime_error("no name on the bus");
}

BusProgram::~BusProgram() {
    g_dbus_connection_close_sync(connection_.get(), nullptr, nullptr);
}

void BusProgram::serve(const char* path, const std::string& interfaceXml) {
    const NodeInfoHandle node(
        g_dbus_node_info_new_for_xml(("<node>" + interfaceXml + "</node>").c_str(), nullptr));
    if (!node) throw std::runtime_error("not a description: " + interfaceXml);
    Answer* answer = const_cast<Answer*>(&answer_);
    g_dbus_connection_register_object(connection_.get(), path, node->interfaces[0], &functions,
                                      answer, nullptr, nullptr);
}

void BusProgram::signal(const char* path, const char* interface, const char* member,
                        GVariant* parameters) {
    g_dbus_connection_emit_signal(connection_.get(), nullptr, path, interface, member, parameters,
                                  nullptr);
    g_dbus_connection_flush_sync(connection_.get(), nullptr, nullptr);
}

ScopedVariable::ScopedVariable(const char* name, const char* value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    set(name, value);
}

ScopedVariable::~ScopedVariable() {
    set(name_, before_ ? before_->c_str() : nullptr);
}

void ScopedVariable::set(const char* name, const char* value) {
    if (value) {
        ::setenv(name, value, 1);
    } else {
        ::unsetenv(name);
    }
}

}  // namespace larkspan::platform
