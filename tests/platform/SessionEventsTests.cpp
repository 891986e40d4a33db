#include "PrivateBus.h"
#include "platform/fake/FakeSessionEvents.h"
#include "platform/linux/LinuxSessionEvents.h"
#include "support/Pump.h"

#include <gmock/gmock.h>

namespace larkspan::platform {
namespace {

using larkspan::testing::pumpUntil;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using enum SessionEvent;
using namespace std::chrono_literals;

constexpr const char* logind = "org.freedesktop.login1";
constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* manager = "org.freedesktop.login1.Manager";
constexpr const char* userPath = "/org/freedesktop/login1/user/own";
constexpr const char* sessionPath = "/org/freedesktop/login1/session/one";
constexpr const char* properties = "org.freedesktop.DBus.Properties";

const std::string managerXml = R"(<interface name='org.freedesktop.login1.Manager'>
    <method name='GetSessionByPID'><arg type='u' direction='in'/>
    <arg type='o' direction='out'/></method>
    <method name='GetUser'><arg type='u' direction='in'/><arg type='o' direction='out'/></method>
    </interface>)";

// Properties are served as plain methods, so that the test decides about every answer.
const std::string propertiesXml = R"(<interface name='org.freedesktop.DBus.Properties'>
    <method name='Get'><arg type='s' direction='in'/><arg type='s' direction='in'/>
    <arg type='v' direction='out'/></method></interface>)";

struct FakeLogind {
    explicit FakeLogind(const std::string& bus)
        : program(bus, logind, [this](const auto& call) { return answer(call); }) {
        program.serve(managerPath, managerXml);
        program.serve(userPath, propertiesXml);
        program.serve(sessionPath, propertiesXml);
    }

    GVariant* answer(const BusProgram::Call& call) {
        if (call.member == "GetSessionByPID") {
            return inSession ? g_variant_new("(o)", sessionPath) : nullptr;
        }
        if (call.member == "GetUser") return g_variant_new("(o)", userPath);
        if (call.path == userPath) {
            ++askedForDisplay;
            return g_variant_new("(v)", g_variant_new("(so)", "one", display.c_str()));
        }
        ++askedWhetherActive;
        return g_variant_new("(v)", g_variant_new_boolean(active));
    }
    void prepare(const char* signal, bool begins) {
        program.signal(managerPath, manager, signal, g_variant_new("(b)", begins));
    }
    void session(const char* signal) {
        program.signal(managerPath, manager, signal, g_variant_new("(so)", "one", sessionPath));
    }
    void setActive(bool now, bool withValue = true) {
        active = now;
        const char* invalidated[] = {"Active", nullptr};
        GVariantBuilder changed;
        g_variant_builder_init(&changed, G_VARIANT_TYPE_VARDICT);
        if (withValue) {
            g_variant_builder_add(&changed, "{sv}", "Active", g_variant_new_boolean(now));
        }
        program.signal(sessionPath, properties, "PropertiesChanged",
                       g_variant_new("(sa{sv}^as)", "org.freedesktop.login1.Session", &changed,
                                     withValue ? invalidated + 1 : invalidated));
    }

    bool inSession = true;
    std::string display = "/";
    bool active = true;
    int askedForDisplay = 0;
    int askedWhetherActive = 0;
    BusProgram program;
};

struct LinuxSessionEventsTest : ::testing::Test {
    void SetUp() override {
        if (!bus) GTEST_SKIP() << "no dbus-daemon";
        system.emplace(bus->address());
    }
    void observe() {
        observation = events.observe([this](SessionEvent event) { seen.push_back(event); });
    }
    bool pumpUntilAsked() {
        return pumpUntil(mainThread, [this] { return system->askedWhetherActive > 0; });
    }
    bool pumpUntilSeen(size_t count) {
        return pumpUntil(mainThread, [this, count] { return seen.size() >= count; });
    }

    LinuxMainThread mainThread;
    std::unique_ptr<PrivateBus> bus = PrivateBus::start();
    ScopedVariable address{"DBUS_SYSTEM_BUS_ADDRESS", bus ? bus->address().c_str() : nullptr};
    std::optional<FakeLogind> system;
    std::vector<SessionEvent> seen;
    LinuxSessionEvents events{mainThread};
    std::unique_ptr<SessionEvents::Observation> observation;
};

TEST_F(LinuxSessionEventsTest, tellsOfSleepAndPower) {
    observe();
    ASSERT_TRUE(pumpUntilAsked());
    system->prepare("PrepareForSleep", true);
    system->prepare("PrepareForSleep", false);
    system->prepare("PrepareForShutdown", false);
    system->prepare("PrepareForShutdown", true);
    ASSERT_TRUE(pumpUntilSeen(3));
    EXPECT_THAT(seen, ElementsAre(willSleep, didWake, willPowerOff));
}

TEST_F(LinuxSessionEventsTest, tellsChangesOfTheSessionOnly) {
    observe();
    ASSERT_TRUE(pumpUntilAsked());
    system->setActive(true);  // as it was
    system->setActive(false);
    system->setActive(false);
    ASSERT_TRUE(pumpUntilSeen(1));
    system->setActive(true, false);
    ASSERT_TRUE(pumpUntilSeen(2));
    system->inSession = false;
    system->session("SessionRemoved");
    ASSERT_TRUE(pumpUntilSeen(3));
    EXPECT_THAT(seen, ElementsAre(resignedActive, becameActive, resignedActive));
}

TEST_F(LinuxSessionEventsTest, aServiceFollowsTheSessionAtTheDisplay) {
    system->inSession = false;
    observe();
    ASSERT_TRUE(pumpUntil(mainThread, [&] { return system->askedForDisplay > 0; }));
    system->prepare("PrepareForSleep", true);
    ASSERT_TRUE(pumpUntilSeen(1));
    EXPECT_EQ(system->askedWhetherActive, 0) << "nobody is logged in";
    seen.clear();
    system->display = sessionPath;
    system->session("SessionNew");
    ASSERT_TRUE(pumpUntilSeen(1));
    EXPECT_THAT(seen, ElementsAre(becameActive));
}

TEST_F(LinuxSessionEventsTest, observersThatAreGoneAreNotCalled) {
    observe();
    int others = 0;
    auto other = events.observe([&](SessionEvent) { ++others; });
    ASSERT_TRUE(pumpUntilAsked());
    observation.reset();
    system->prepare("PrepareForSleep", true);
    ASSERT_TRUE(pumpUntil(mainThread, [&] { return others == 1; }));
    EXPECT_THAT(seen, IsEmpty());
}

TEST(LinuxSessionEventsWithoutBus, noEventComes) {
    LinuxMainThread mainThread;
    for (const char* address : {"unix:path=/nonexistent/bus", "nonsense", "autolaunch:"}) {
        const ScopedVariable noBus("DBUS_SYSTEM_BUS_ADDRESS", address);
        LinuxSessionEvents events(mainThread);
        const auto observation = events.observe([](SessionEvent) { FAIL(); });
        larkspan::testing::pumpFor(mainThread, 5ms);
    }
    // Gone before the bus has answered.
    const ScopedVariable noBus("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    (void)LinuxSessionEvents(mainThread).observe([](SessionEvent) { FAIL(); });
    larkspan::testing::pumpFor(mainThread, 5ms);
}

TEST(FakeSessionEvents, tellsWhoeverObserves) {
    FakeSessionEvents events;
    std::vector<SessionEvent> seen;
    std::unique_ptr<SessionEvents::Observation> second;
    auto first = events.observe([&](SessionEvent event) {
        seen.push_back(event);
        second.reset();
    });
    second = events.observe([&](SessionEvent) { FAIL() << "gone meanwhile"; });
    events.send(willSleep);
    first.reset();
    events.send(didWake);
    EXPECT_THAT(seen, ElementsAre(willSleep));
}

}  // namespace
}  // namespace larkspan::platform
