#include "kit/Identifiers.h"
#include "kit/Preferences.h"
#include "kit/ZBGrowl.h"
#include "kit/ZBLocalPaths.h"
#include "support/FakePlatformTest.h"

#include <thread>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

class PreferencesTest : public testing::FakePlatformTest {
  protected:
    long complaints() {
        const auto lines = loggedLines();
        return std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
            return line.starts_with("Unable to read preferences file ");
        });
    }
};

TEST_F(PreferencesTest, AreReadAfreshAndAbsentKeysKeepTheirDefault) {
    EXPECT_FALSE(Preferences::frontEnd().exists());
    EXPECT_EQ(Preferences::frontEnd().integer("xmlLimit", 5), 5);
    setPreferences({{"xmlLimit", "3"}, {"storagePath", 7}, {"showGrowlAlerts", false}});
    const Preferences preferences = Preferences::frontEnd();
    EXPECT_TRUE(preferences.exists());
    EXPECT_EQ(preferences.integer("xmlLimit", 5), 3);
    EXPECT_EQ(preferences.string("storagePath"), std::nullopt);
    EXPECT_TRUE(preferences.array("watchFolders").empty());
    EXPECT_FALSE(preferences.wantsAlerts());
}

TEST_F(PreferencesTest, ABrokenFileHasNoKeysAndIsComplainedAboutOnce) {
    ZBLog::createNewLog();
    const Path file = *Preferences::frontEndFile();
    for (const char* content : {"", "<plist><dict>", "<plist><array/></plist>", "rubbish"}) {
        fake.clock.advance(Seconds(10));
        writeFile(file, content);
        const long before = complaints();
        EXPECT_FALSE(Preferences::frontEnd().exists()) << content;
        EXPECT_EQ(Preferences::frontEnd().integer("xmlLimit", 5), 5) << content;
        EXPECT_EQ(complaints(), before + 1) << content;
        // It may hold what the user can still rescue.
        EXPECT_TRUE(Preferences::setObject(file, "key", 1)) << content;
        EXPECT_EQ(contentOf(file), content);
    }
}

TEST_F(PreferencesTest, SetAndRemoveOneKey) {
    const Path file = *Preferences::frontEndFile();
    EXPECT_FALSE(Preferences::setObject(file, "a", 1));
    EXPECT_FALSE(Preferences::setObject(file, "b", "text"));
    EXPECT_FALSE(Preferences::removeObject(file, "a"));
    EXPECT_FALSE(Preferences::removeObject(file, "a"));
    EXPECT_EQ(Preferences::frontEnd().values(), Value(Value::Dictionary{{"b", "text"}}));
}

TEST_F(PreferencesTest, NoChangeMadeAtTheSameTimeIsLost) {
    const Path file = *Preferences::frontEndFile();
    const auto append = [](const Value* present) {
        Value::Array list = present ? *present->array() : Value::Array();
        list.emplace_back("x");
        return Value(std::move(list));
    };
    constexpr int each = 50;
    const auto work = [&] {
        for (int i = 0; i < each; ++i)
            EXPECT_FALSE(Preferences::changeObject(file, "list", append));
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(Preferences::frontEnd().array("list").size(), 2U * each);
}

TEST_F(PreferencesTest, SwitchUserNotificationsOff) {
    const Path organisation =
        *ZBLocalPaths::prefsDirectory(UserDomain::yes) / organisationPreferencesFile;
    ZBGrowl::postGrowlNotification("title", "text");
    ZBGrowl::postGrowlNotification("title", "text", "icon", "Backup failed");
    ASSERT_FALSE(Preferences::setObject(organisation, "growlDisabled", true));
    ZBGrowl::postGrowlNotification("never", "shown");
    const auto posted = fake.userNotifications.posted();
    ASSERT_EQ(posted.size(), 2U);
    EXPECT_EQ(posted[0].notificationName, "ZBInfoNotification");
    EXPECT_EQ(posted[0].context, Value(fake.clock.now()));
    EXPECT_EQ(posted[1].notificationName, "Backup failed");
    EXPECT_TRUE(fake.userNotifications.hasDelegate());
}

TEST_F(PreferencesTest, ClicksComeBackAsLocalNotifications) {
    std::vector<std::string> heard;
    const auto note = [&](const NotificationCenter::Notification& notification) {
        EXPECT_TRUE(fake.mainThread.isCurrent());
        heard.push_back(notification.name + describe(notification.userInfo));
    };
    auto& center = NotificationCenter::defaultCenter();
    const auto clicks = center.addObserver("ZBGrowlAlertClicked", note);
    const auto timeOuts = center.addObserver("ZBGrowlAlertTimedOut", note);
    ZBGrowl& growl = ZBGrowl::defaultController();
    growl.growlNotificationWasClicked(Value(7));
    growl.growlNotificationTimedOut(Value("x"));
    growl.growlNotificationWasClicked(std::nullopt);
    EXPECT_THAT(heard, ::testing::ElementsAre("ZBGrowlAlertClicked{clickContext = 7}",
                                              "ZBGrowlAlertTimedOut{clickContext = \"x\"}"));
}

}  // namespace
}  // namespace larkspan
