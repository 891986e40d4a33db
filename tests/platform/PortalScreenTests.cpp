#include "PrivateBus.h"
#include "platform/linux/LinuxMainThread.h"
#include "platform/linux/PortalScreen.h"
#include "support/Pump.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>

namespace larkspan::platform {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using namespace std::chrono_literals;

constexpr const char* portal = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* store = "org.freedesktop.impl.portal.PermissionStore";
constexpr const char* request = "/org/freedesktop/portal/desktop/request/1/larkspan";

// Stands for the desktop portal and its permission store.
class FakePortal {
  public:
    explicit FakePortal(const std::string& bus)
        : store_(bus, store, [this](const auto& call) { return lookUp(call); }),
          portal_(bus, portal, [this](const auto& call) { return answer(call); }) {
        store_.serve("/org/freedesktop/impl/portal/PermissionStore",
                     R"(<interface name='org.freedesktop.impl.portal.PermissionStore'>
            <method name='Lookup'><arg type='s' direction='in'/><arg type='s' direction='in'/>
            <arg type='a{sas}' direction='out'/><arg type='v' direction='out'/></method>
            </interface>)");
        portal_.serve(portalPath, R"(<interface name='org.freedesktop.portal.Screenshot'>
            <method name='Screenshot'><arg type='s' direction='in'/>
            <arg type='a{sv}' direction='in'/><arg type='o' direction='out'/></method>
            <property name='version' type='u' access='read'/></interface>)");
        portal_.serve(request,
                      "<interface name='org.freedesktop.portal.Request'>"
                      "<method name='Close'/></interface>");
    }

    std::string permissions = "{'': ['yes']}";  // "": there are none for screenshots
    guint32 version = 2;
    std::function<std::string()> respond;  // the answer's text; "": none comes
    std::vector<std::string> asked;
    std::string options;

  private:
    GVariant* lookUp(const BusProgram::Call& call) {
        const char *table, *identifier;
        g_variant_get(call.parameters, "(&s&s)", &table, &identifier);
        asked.push_back(std::string("Lookup ") + table + " " + identifier);
        if (permissions.empty()) return nullptr;
        return g_variant_new_parsed(("(@a{sas} " + permissions + ", <0>)").c_str());
    }
    GVariant* answer(const BusProgram::Call& call) {
        asked.push_back(call.member);
        if (call.member == "Get") return g_variant_new("(v)", g_variant_new_uint32(version));
        if (call.member == "Close") return g_variant_new("()");
        const VariantHandle given(g_variant_get_child_value(call.parameters, 1));
        gboolean interactive = TRUE;
        g_variant_lookup(given.get(), "interactive", "b", &interactive);
        options = interactive != 0 ? "interactive" : "quiet";
        const std::string response = respond();
        if (!response.empty()) {
            portal_.signal(request, "org.freedesktop.portal.Request", "Response",
                           g_variant_new_parsed(response.c_str()));
        }
        return g_variant_new("(o)", request);
    }

    BusProgram store_;
    BusProgram portal_;
};

struct PortalScreenTest : ::testing::Test {
    void SetUp() override {
        if (!bus) GTEST_SKIP() << "no dbus-daemon";
        access.busAddress = bus->address();
        desktop.emplace(bus->address());
        desktop->respond = [this] { return writePicture(); };
    }
    std::string writePicture() const {
        std::ofstream(file) << "picture";
        return "(uint32 0, {'uri': <'file://" + file + "'>})";
    }
    std::optional<std::string> capture(Seconds limit = 10s) {
        std::optional<std::string> picture;
        std::atomic<bool> done = false;
        std::thread thread([&] {
            picture = captureThroughPortal(access, limit);
            done = true;
        });
        EXPECT_TRUE(larkspan::testing::pumpUntil(mainThread, [&] { return done.load(); }));
        thread.join();
        return picture;
    }

    LinuxMainThread mainThread;
    std::unique_ptr<PrivateBus> bus = PrivateBus::start();
    larkspan::testing::TemporaryFolder folder;
    const std::string file = (folder.path() / "Screenshot 1.png").str();
    PortalAccess access{.applicationIDs = {""}};
    std::optional<FakePortal> desktop;
};

TEST_F(PortalScreenTest, TakesThePictureWhereThatWasGranted) {
    desktop->respond = [this] {
        (void)writePicture();
        return "(uint32 0, {'uri': <'file://" + folder.path().str() + "/Screenshot%201.png'>})";
    };
    EXPECT_EQ(capture(), "picture");
    EXPECT_THAT(desktop->asked, ElementsAre("Lookup screenshot screenshot", "Get", "Screenshot"));
    EXPECT_EQ(desktop->options, "quiet");
    EXPECT_FALSE(fs::exists(file)) << "the portal's own file is left behind";
}

// Each of these would make the portal ask the user.
TEST_F(PortalScreenTest, AsksForNothingThatWasNotGranted) {
    for (const char* permissions : {"", "{}", "{'': ['no']}", "{'': ['ask']}", "{'': []}",
                                    "{'': ['yes', 'no']}", "{'org.example.Editor': ['yes']}"}) {
        desktop->permissions = permissions;
        EXPECT_EQ(capture(), std::nullopt) << permissions;
    }
    access.applicationIDs = {"", "org.example.Editor"};
    desktop->permissions = "{'': ['yes']}";
    EXPECT_EQ(capture(), std::nullopt);
    desktop->permissions = "{'': ['yes'], 'org.example.Editor': ['yes']}";
    desktop->version = 1;
    EXPECT_EQ(capture(), std::nullopt);
    EXPECT_THAT(desktop->asked, ::testing::Not(::testing::Contains("Screenshot")));
    desktop->version = 3;
    EXPECT_EQ(capture(), "picture");
}

TEST_F(PortalScreenTest, RefusalsAndNonsenseGiveNone) {
    const std::string foreign = (folder.path() / "old").str();
    std::ofstream(foreign) << "old";
    fs::last_write_time(foreign, fs::file_time_type::clock::now() - 1h);
    for (const std::string& response :
         {std::string("(uint32 1, @a{sv} {})"), std::string("(uint32 2, {'uri': <'file:///x'>})"),
          std::string("(uint32 0, @a{sv} {})"), std::string("(uint32 0, {'uri': <5>})"),
          std::string("(uint32 0, {'uri': <'http://example.com/x'>})"),
          std::string("(uint32 0, {'uri': <'file:///nonexistent/x'>})"),
          "(uint32 0, {'uri': <'file://" + folder.path().str() + "'>})"}) {
        desktop->respond = [&] { return response; };
        EXPECT_EQ(capture(), std::nullopt) << response;
    }
    // A file that was there before is not the portal's to give away.
    desktop->respond = [&] { return "(uint32 0, {'uri': <'file://" + foreign + "'>})"; };
    (void)capture();
    EXPECT_TRUE(fs::exists(foreign));
}

TEST_F(PortalScreenTest, ARequestThatIsNotAnsweredIsWithdrawn) {
    desktop->respond = [] { return ""; };
    EXPECT_EQ(capture(300ms), std::nullopt);
    EXPECT_THAT(desktop->asked,
                ElementsAre("Lookup screenshot screenshot", "Get", "Screenshot", "Close"));
}

TEST_F(PortalScreenTest, NoPortalOrNoBusGivesNone) {
    desktop.reset();
    EXPECT_EQ(capture(), std::nullopt);
    bus->stop();
    EXPECT_EQ(capture(), std::nullopt);
    EXPECT_EQ(captureThroughPortal({.applicationIDs = {""}}, 1s), std::nullopt);
    EXPECT_EQ(captureThroughPortal({.busAddress = "nonsense", .applicationIDs = {""}}, 1s),
              std::nullopt);
}

TEST(PortalApplicationIDs, FollowTheUnitThatTheDesktopMade) {
    struct Case {
        const char* cgroup;
        const char* identifier;  // "": none but ""
    };
    const Case cases[] = {
        {"", ""},
        {"0::/", ""},
        {"0::/user.slice/user-1000.slice/session-2.scope\n", ""},
        {"0::/user.slice/app.slice/larkspan-helper.service\n", ""},
        {"0::/a/app-gnome-org.example.Editor-1234.scope\n", "org.example.Editor"},
        {"0::/a/app-org.example.Editor-1234.scope", "org.example.Editor"},
        {"1:name=systemd:/x\n0::/a/app-flatpak-org.example.Editor@9.service\n",
         "org.example.Editor"},
        {"0::/a/app-org.example.Editor.service\n", "org.example.Editor"},
        {"0::/a/app-gnome-my\\x2deditor-12.scope\n", "my-editor"},
        {"0::/a/app-gnome-bad\\xzz\\x-12.scope\n", "bad\\xzz\\x"},
        {"0::/a/app-.scope\n", ""},
        {"1:cpu:/app-gnome-org.example.Editor-1.scope\n", ""},
    };
    for (const Case& c : cases) {
        const auto identifiers = portalApplicationIDs(c.cgroup);
        if (*c.identifier) {
            EXPECT_THAT(identifiers, ElementsAre("", c.identifier)) << c.cgroup;
        } else {
            EXPECT_THAT(identifiers, ElementsAre("")) << c.cgroup;
        }
    }
}

}  // namespace
}  // namespace larkspan::platform
