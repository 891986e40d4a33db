#include "platform/linux/ConsoleUser.h"

#include <gmock/gmock.h>

namespace larkspan::platform {
namespace {

using ::testing::UnorderedElementsAre;

TEST(ConsoleUserTests, TheEnvironmentIsTheUsersAndKeepsWhatLiesInThatHome) {
    const UserEntry kim{.name = "kim", .home = Path("/home/kim"), .userID = 1001, .groupID = 100};
    using ::testing::Pair;
    EXPECT_THAT(
        environmentForUser({{"HOME", "/root"},
                            {"USER", "root"},
                            {"PATH", "/bin"},
                            {"DISPLAY", ":0"},
                            {"TMPDIR", "/root/tmp"},
                            {"XAUTHORITY", "/run/user/1001/xauth"},
                            {"XDG_DATA_HOME", "/home/kim/data"},
                            {"XDG_CACHE_HOME", "/root/.cache"},
                            {"XDG_CONFIG_HOME", "/home/kimberly/.config"},
                            {"XDG_RUNTIME_DIR", "/run/user/0"},
                            {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/run/user/0/bus"}},
                           kim, Path("/root")),
        UnorderedElementsAre(
            Pair("HOME", "/home/kim"), Pair("USER", "kim"), Pair("LOGNAME", "kim"),
            Pair("PATH", "/bin"), Pair("DISPLAY", ":0"), Pair("XAUTHORITY", "/run/user/1001/xauth"),
            Pair("XDG_DATA_HOME", "/home/kim/data"), Pair("XDG_RUNTIME_DIR", "/run/user/1001"),
            Pair("LARKSPAN_ACTS_FOR", "1001")));
}

}  // namespace
}  // namespace larkspan::platform
