#include "platform/linux/LinuxSessionEvents.h"

#include <cassert>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace larkspan::platform {
namespace {

constexpr const char* logind = "org.freedesktop.login1";
constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
constexpr const char* sessionInterface = "org.freedesktop.login1.Session";
constexpr const char* userInterface = "org.freedesktop.login1.User";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr std::string_view noSession = "/";  // as logind puts it
constexpr Seconds answerLimit = std::chrono::seconds(25);

std::string textIn(GVariant* tuple, gsize place) {
    const VariantHandle text(g_variant_get_child_value(tuple, place));
    return g_variant_get_string(text.get(), nullptr);
}

}  // namespace

LinuxSessionEvents::LinuxSessionEvents(LinuxMainThread& mainThread) : mainThread_(mainThread) {}

LinuxSessionEvents::~LinuxSessionEvents() {
    assert(mainThread_.isCurrent());
}

std::unique_ptr<SessionEvents::Observation> LinuxSessionEvents::observe(Observer observer) {
    assert(mainThread_.isCurrent());
    if (!std::exchange(connecting_, true)) connect();
    return observers_.add(std::move(observer));
}

void LinuxSessionEvents::connect() {
    // Reads DBUS_SYSTEM_BUS_ADDRESS or knows the usual place; asks nobody.
    const TextHandle address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
    if (!address) return;
    openBus(address.get(), cancellation_, [this](Result<ConnectionHandle> opened) {
        if (!opened) return;
        bus_ = std::move(opened).value();
        listen();
        findSession();
    });
}

void LinuxSessionEvents::listen() {
    manager_ = std::make_unique<SignalSubscription>(
        bus_.get(), SignalMatch{logind, managerPath, managerInterface},
        [this](const char* signal, GVariant* parameters) { managerSaid(signal, parameters); });
}

void LinuxSessionEvents::managerSaid(const std::string& signal, GVariant* parameters) {
    const auto carries = [&](const char* type) {
        return g_variant_is_of_type(parameters, G_VARIANT_TYPE(type)) != FALSE;
    };
    if (carries("(b)")) {
        gboolean begins = FALSE;
        g_variant_get(parameters, "(b)", &begins);
        if (signal == "PrepareForSleep") {
            observers_.notify(begins ? SessionEvent::willSleep : SessionEvent::didWake);
        } else if (signal == "PrepareForShutdown" && begins) {
            observers_.notify(SessionEvent::willPowerOff);
        }
    } else if (carries("(so)")) {
        if (signal == "SessionNew" && session_.empty()) findSession();
        if (signal == "SessionRemoved" && textIn(parameters, 1) == session_) {
            sessionEnded();
        }
    }
}

// The number 0 stands for the process that asks.
void LinuxSessionEvents::findSession() {
    callMethod(bus_.get(), {logind, managerPath, managerInterface, "GetSessionByPID"},
               g_variant_new("(u)", guint32{0}), "(o)", answerLimit, cancellation_,
               [this](Result<VariantHandle> answer) {
                   if (answer) {
                       useSession(textIn(answer->get(), 0));
                   } else {
                       findDisplaySession();
                   }
               });
}

void LinuxSessionEvents::findDisplaySession() {
    callMethod(bus_.get(), {logind, managerPath, managerInterface, "GetUser"},
               g_variant_new("(u)", guint32{::getuid()}), "(o)", answerLimit, cancellation_,
               [this](Result<VariantHandle> user) {
                   if (!user) return;
                   callMethod(
                       bus_.get(),
                       {logind, textIn(user->get(), 0).c_str(), propertiesInterface, "Get"},
                       g_variant_new("(ss)", userInterface, "Display"), "(v)", answerLimit,
                       cancellation_, [this](Result<VariantHandle> display) {
                           if (!display) return;
                           const VariantHandle boxed(g_variant_get_child_value(display->get(), 0));
                           const VariantHandle session(g_variant_get_variant(boxed.get()));
                           if (g_variant_is_of_type(session.get(), G_VARIANT_TYPE("(so)"))) {
                               useSession(textIn(session.get(), 1));
                           }
                       });
               });
}

void LinuxSessionEvents::useSession(const std::string& path) {
    if (path == noSession) {
        setActive(false);
        return;
    }
    if (path == session_) return;
    session_ = path;
    sessionProperties_ = std::make_unique<SignalSubscription>(
        bus_.get(),
        SignalMatch{.sender = logind,
                    .path = session_.c_str(),
                    .interface = propertiesInterface,
                    .member = "PropertiesChanged",
                    .firstArgument = sessionInterface},
        [this](const char*, GVariant* parameters) { sessionChanged(parameters); });
    askWhetherActive();
}

void LinuxSessionEvents::sessionEnded() {
    setActive(false);
    session_.clear();
    sessionProperties_.reset();
    findSession();
}

void LinuxSessionEvents::askWhetherActive() {
    callMethod(bus_.get(), {logind, session_.c_str(), propertiesInterface, "Get"},
               g_variant_new("(ss)", sessionInterface, "Active"), "(v)", answerLimit, cancellation_,
               [this, asked = session_](Result<VariantHandle> answer) {
                   if (!answer || asked != session_) return;
                   const VariantHandle boxed(g_variant_get_child_value(answer->get(), 0));
                   const VariantHandle active(g_variant_get_variant(boxed.get()));
                   if (g_variant_is_of_type(active.get(), G_VARIANT_TYPE_BOOLEAN)) {
                       setActive(g_variant_get_boolean(active.get()) != FALSE);
                   }
               });
}

void LinuxSessionEvents::sessionChanged(GVariant* parameters) {
    if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sa{sv}as)"))) return;
    const VariantHandle changed(g_variant_get_child_value(parameters, 1));
    gboolean active = FALSE;
    if (g_variant_lookup(changed.get(), "Active", "b", &active)) {
        setActive(active != FALSE);
        return;
    }
    const VariantHandle invalidated(g_variant_get_child_value(parameters, 2));
    for (gsize i = 0; i < g_variant_n_children(invalidated.get()); ++i) {
        const VariantHandle name(g_variant_get_child_value(invalidated.get(), i));
        if (std::string_view(g_variant_get_string(name.get(), nullptr)) == "Active") {
            askWhetherActive();
        }
    }
}

// What is heard first is how things are, not a change.
void LinuxSessionEvents::setActive(bool active) {
    const std::optional<bool> before = std::exchange(active_, active);
    if (!before || *before == active) return;
    observers_.notify(active ? SessionEvent::becameActive : SessionEvent::resignedActive);
}

}  // namespace larkspan::platform
