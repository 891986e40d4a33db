#include "PrivateBus.h"
#include "platform/linux/LinuxDockTile.h"
#include "platform/linux/LinuxMainThread.h"
#include "support/Pump.h"

#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace larkspan::platform {
namespace {

using larkspan::testing::pumpUntil;

class DockTileTest : public ::testing::Test {
  protected:
    void SetUp() override {
        bus = PrivateBus::start();
        if (!bus) GTEST_SKIP() << "there is no message bus here";
        launcher.reset(g_dbus_connection_new_for_address_sync(
            bus->address().c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr));
        ASSERT_NE(launcher, nullptr);
        updates = std::make_unique<SignalSubscription>(
            launcher.get(),
            SignalMatch{.sender = nullptr,
                        .path = nullptr,
                        .interface = "com.canonical.Unity.LauncherEntry"},
            [this](const char*, GVariant* parameters) { note(parameters); });
        // The bus knows of the subscription before anything is told.
        g_dbus_connection_call_sync(launcher.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                    "org.freedesktop.DBus", "GetId", nullptr, nullptr,
                                    G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    }
    void note(GVariant* parameters) {
        ASSERT_TRUE(g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sa{sv})")));
        const char* application = nullptr;
        GVariant* raw = nullptr;
        g_variant_get(parameters, "(&s@a{sv})", &application, &raw);
        const VariantHandle properties(raw);
        EXPECT_STREQ(application, "application://larkspan.desktop");
        double progress = -1;
        gboolean isVisible = FALSE;
        EXPECT_TRUE(g_variant_lookup(properties.get(), "progress", "d", &progress));
        EXPECT_TRUE(g_variant_lookup(properties.get(), "progress-visible", "b", &isVisible));
        told.emplace_back(progress, isVisible != FALSE);
    }

    LinuxMainThread mainThread;
    std::unique_ptr<PrivateBus> bus;
    ConnectionHandle launcher;
    std::unique_ptr<SignalSubscription> updates;
    std::vector<std::pair<double, bool>> told;
};

TEST_F(DockTileTest, TellsTheLauncherHowFarItIs) {
    const ScopedVariable address("DBUS_SESSION_BUS_ADDRESS", bus->address().c_str());
    LinuxDockTile tile;
    tile.showProgress(0.25);
    ASSERT_TRUE(pumpUntil(mainThread, [&] { return !told.empty(); }));
    EXPECT_EQ(told.back(), std::pair(0.25, true));
    tile.showProgress(std::nullopt);
    ASSERT_TRUE(pumpUntil(mainThread, [&] { return told.size() == 2; }));
    EXPECT_EQ(told.back(), std::pair(0.0, false));
}

TEST_F(DockTileTest, ABusThatIsNotThereOrEndsIsFine) {
    {
        const ScopedVariable nobody("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/at/all");
        LinuxDockTile tile;
        tile.showProgress(0.5);
        tile.showProgress(std::nullopt);
    }
    const ScopedVariable address("DBUS_SESSION_BUS_ADDRESS", bus->address().c_str());
    LinuxDockTile tile;
    tile.showProgress(0.5);
    ASSERT_TRUE(pumpUntil(mainThread, [&] { return !told.empty(); }));
    updates.reset();
    g_dbus_connection_set_exit_on_close(launcher.get(), FALSE);
    bus->stop();
    tile.showProgress(0.75);
}

}  // namespace
}  // namespace larkspan::platform
