#include "PrivateBus.h"
#include "platform/linux/LinuxMainThread.h"
#include "platform/linux/LinuxUserNotifications.h"
#include "support/Pump.h"

#include <deque>

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace larkspan::platform {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace std::chrono_literals;

constexpr const char* service = "org.freedesktop.Notifications";
constexpr const char* servicePath = "/org/freedesktop/Notifications";

// Stands for the desktop; keeps what it was told to show.
class FakeDesktop {
  public:
    struct Notice {
        std::string application, icon, title, body, hints;
        std::vector<std::string> actions;
    };

    FakeDesktop(const std::string& bus, std::vector<const char*> capabilities)
        : capabilities_(std::move(capabilities)),
          program_(bus, service, [this](const auto& call) { return answer(call); }) {
        program_.serve(servicePath, R"(<interface name='org.freedesktop.Notifications'>
            <method name='GetCapabilities'><arg type='as' direction='out'/></method>
            <method name='Notify'>
            <arg type='s' direction='in'/><arg type='u' direction='in'/>
            <arg type='s' direction='in'/><arg type='s' direction='in'/>
            <arg type='s' direction='in'/><arg type='as' direction='in'/>
            <arg type='a{sv}' direction='in'/><arg type='i' direction='in'/>
            <arg type='u' direction='out'/></method></interface>)");
    }

    void click(guint32 id, const char* action = "default") {
        program_.signal(servicePath, service, "ActionInvoked", g_variant_new("(us)", id, action));
    }
    void close(guint32 id, guint32 reason) {
        program_.signal(servicePath, service, "NotificationClosed",
                        g_variant_new("(uu)", id, reason));
    }

    std::vector<Notice> shown;
    int asked = 0;
    std::function<void(guint32 id)> beforeAnswer = [](guint32) {};

  private:
    GVariant* answer(const BusProgram::Call& call) {
        if (call.member == "GetCapabilities") {
            ++asked;
            return g_variant_new(
                "(@as)", g_variant_new_strv(capabilities_.data(), gssize(capabilities_.size())));
        }
        const char *application, *icon, *title, *body;
        GVariantIter* actions;
        GVariant* hints;
        g_variant_get(call.parameters, "(&su&s&s&sas@a{sv}i)", &application, nullptr, &icon, &title,
                      &body, &actions, &hints, nullptr);
        const VariantHandle owned(hints);
        Notice notice{
            application, icon, title, body, TextHandle(g_variant_print(hints, FALSE)).get(), {}};
        const char* action;
        while (g_variant_iter_next(actions, "&s", &action)) notice.actions.emplace_back(action);
        g_variant_iter_free(actions);
        shown.push_back(notice);
        const auto id = guint32(shown.size());
        beforeAnswer(id);
        return g_variant_new("(u)", id);
    }

    std::vector<const char*> capabilities_;
    BusProgram program_;
};

struct LinuxUserNotificationsTest : ::testing::Test {
    void SetUp() override {
        if (!bus) GTEST_SKIP() << "no dbus-daemon";
        desktop.emplace(bus->address(), std::vector<const char*>{"actions", "body", "body-markup"});
        notifications.setDelegate([this](const auto& context) { note("click", context); },
                                  [this](const auto& context) { note("timeout", context); });
    }
    void note(const char* what, const std::optional<Value>& context) {
        ends.with([&](auto& all) {
            all.push_back(std::string(what) + " " + (context ? describe(*context) : "none"));
        });
    }
    void post(const std::string& title, std::optional<Value> context = std::nullopt) {
        notifications.post({.applicationName = "Larkspan",
                            .title = title,
                            .description = "a < b & c",
                            .notificationName = "Backup failed",
                            .icon = "",
                            .context = std::move(context)});
    }
    bool pump(const std::function<bool()>& condition) {
        return larkspan::testing::pumpUntil(mainThread, condition);
    }
    bool pumpUntilShown(size_t count) {
        return pump([&] { return desktop->shown.size() >= count; });
    }
    bool pumpUntilEnded(size_t count) {
        return pump([&] { return ends.copy().size() >= count; });
    }
    // Whatever was sent before has been dealt with when a notice made for this is clicked.
    void settle() {
        const std::string title = "last " + std::to_string(++settled_);
        post(title, Value(title));
        ASSERT_TRUE(
            pump([&] { return !desktop->shown.empty() && desktop->shown.back().title == title; }));
        desktop->click(guint32(desktop->shown.size()));
        ASSERT_TRUE(pump([&] {
            const auto heard = ends.copy();
            return !heard.empty() && heard.back() == "click \"" + title + '"';
        }));
    }

    LinuxMainThread mainThread;
    std::unique_ptr<PrivateBus> bus = PrivateBus::start();
    ScopedVariable address{"DBUS_SESSION_BUS_ADDRESS", bus ? bus->address().c_str() : nullptr};
    Guarded<std::vector<std::string>> ends;
    std::optional<FakeDesktop> desktop;
    LinuxUserNotifications notifications;

  private:
    int settled_ = 0;
};

TEST_F(LinuxUserNotificationsTest, showsTheNoticeAsTheServiceUnderstandsIt) {
    post("Title & more");
    notifications.post({.applicationName = "Bad \xff", .title = "\xc3", .icon = "/pics/a b.png"});
    ASSERT_TRUE(pumpUntilShown(2));
    const auto& notice = desktop->shown[0];
    EXPECT_EQ(notice.application, "Larkspan");
    EXPECT_EQ(notice.title, "Title & more");
    EXPECT_EQ(notice.body, "a &lt; b &amp; c");
    EXPECT_EQ(notice.hints, "{'category': <'Backup failed'>}");
    EXPECT_EQ(notice.icon, "larkspan");
    EXPECT_THAT(notice.actions, ElementsAre("default", ""));
    EXPECT_EQ(desktop->shown[1].application, "Bad \uFFFD");
    EXPECT_EQ(desktop->shown[1].icon, "file:///pics/a%20b.png");
    EXPECT_EQ(desktop->asked, 1);
}

TEST_F(LinuxUserNotificationsTest, aPlainServiceGetsPlainTextAndNoActions) {
    desktop.reset();
    desktop.emplace(bus->address(), std::vector<const char*>{"body"});
    post("Title");
    ASSERT_TRUE(pumpUntilShown(1));
    EXPECT_EQ(desktop->shown[0].body, "a < b & c");
    EXPECT_THAT(desktop->shown[0].actions, IsEmpty());
}

TEST_F(LinuxUserNotificationsTest, everyNoticeEndsAtMostOnceWithItsContext) {
    post("1", Value("one"));
    post("2", Value(Value::Array{2}));
    post("3");
    post("4", Value("dismissed"));
    ASSERT_TRUE(pumpUntilShown(4));
    desktop->click(2, "other");
    desktop->click(77);
    desktop->close(4, 2);
    desktop->click(4);
    desktop->click(2);
    desktop->close(2, 1);
    desktop->close(1, 1);
    desktop->click(3);
    settle();
    EXPECT_THAT(ends.copy(),
                ElementsAre("click (2)", "timeout \"one\"", "click none", "click \"last 1\""));
}

TEST_F(LinuxUserNotificationsTest, signalsMayComeBeforeTheAnswer) {
    desktop->beforeAnswer = [&](guint32 id) {
        if (id == 1) desktop->click(1);
        if (id == 2) desktop->close(2, 1);
    };
    post("1", Value("one"));
    post("2", Value("two"));
    ASSERT_TRUE(pumpUntilEnded(2));
    EXPECT_THAT(ends.copy(), ElementsAre("click \"one\"", "timeout \"two\""));
}

TEST_F(LinuxUserNotificationsTest, forgetsContextsWhenTheServiceEndsOrThereAreTooMany) {
    post("1", Value("one"));
    ASSERT_TRUE(pumpUntilShown(1));
    desktop.reset();
    desktop.emplace(bus->address(), std::vector<const char*>{});
    // What is posted before the desk has heard of the change may be lost.
    ASSERT_TRUE(pump([&] {
        post("again");
        return desktop->asked > 0;
    }));
    for (size_t count = 200; count <= 400; count += 200) {
        for (int i = 0; i < 200; ++i) post("again");
        ASSERT_TRUE(pumpUntilShown(count));
    }
    settle();
    const auto shown = guint32(desktop->shown.size());
    for (guint32 id = 1; id <= shown; ++id) desktop->click(id);
    settle();
    EXPECT_EQ(ends.copy().size(), 256U + 1U);
    EXPECT_THAT(ends.copy(), ::testing::Not(::testing::Contains("click \"one\"")));
}

TEST_F(LinuxUserNotificationsTest, whatIsPostedLastIsStillShown) {
    std::atomic<bool> ended = false;
    std::thread shortLived([&] {
        LinuxUserNotifications().post({.title = "Goodbye"});
        ended = true;
    });
    ASSERT_TRUE(pump([&] { return ended.load(); }));
    shortLived.join();
    ASSERT_TRUE(pumpUntilShown(1));
    EXPECT_EQ(desktop->shown[0].title, "Goodbye");
}

TEST_F(LinuxUserNotificationsTest, survivesTheEndOfTheBus) {
    post("1", Value("one"));
    ASSERT_TRUE(pumpUntilShown(1));
    bus->stop();
    for (int i = 0; i < 1000; ++i) post("nobody sees this");
}

// Counts who comes and sends everybody away.
struct ClosedDoor {
    explicit ClosedDoor(const Path& path) : socket(::socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un at{};
        at.sun_family = AF_UNIX;
        path.str().copy(at.sun_path, sizeof at.sun_path - 1);
        if (::bind(socket.get(), reinterpret_cast<sockaddr*>(&at), sizeof at) != 0) std::abort();
        ::listen(socket.get(), 100);
        thread = std::thread([this] {
            for (;;) {
                const FileDescriptor visitor(::accept(socket.get(), nullptr, nullptr));
                if (!visitor) return;
                ++visitors;
            }
        });
    }
    ~ClosedDoor() {
        ::shutdown(socket.get(), SHUT_RDWR);
        thread.join();
    }
    const FileDescriptor socket;
    std::atomic<int> visitors = 0;
    std::thread thread;
};

TEST(LinuxUserNotificationsWithoutBus, isSilentAndDoesNotInsist) {
    const larkspan::testing::TemporaryFolder folder;
    {
        const ScopedVariable noBus("DBUS_SESSION_BUS_ADDRESS", nullptr);
        const ScopedVariable noFolder("XDG_RUNTIME_DIR", folder.path().c_str());
        LinuxUserNotifications().post({.title = "nobody sees this"});
    }
    ClosedDoor door(folder.path() / "bus");
    const ScopedVariable noBus("DBUS_SESSION_BUS_ADDRESS", nullptr);
    const ScopedVariable ownFolder("XDG_RUNTIME_DIR", folder.path().c_str());
    {
        LinuxUserNotifications notifications;
        for (int i = 0; i < 5; ++i) {
            notifications.post({.title = "nobody sees this"});
            std::this_thread::sleep_for(2ms);
        }
    }
    EXPECT_EQ(door.visitors, 1);
    for (const char* address : {"autolaunch:", "nonsense", "unix:path=/nonexistent/bus"}) {
        const ScopedVariable unusable("DBUS_SESSION_BUS_ADDRESS", address);
        LinuxUserNotifications().post({.title = "nobody sees this"});
    }
    EXPECT_EQ(door.visitors, 1);
}

}  // namespace
}  // namespace larkspan::platform
