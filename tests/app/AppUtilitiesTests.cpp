#include "app/AppUtilities.h"
#include "kit/ZBLocalPaths.h"
#include "support/FakePlatformTest.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

class AppUtilitiesTest : public testing::FakePlatformTest {};

TEST_F(AppUtilitiesTest, ReadsProcessorUse) {
    const char* listing =
        "USER PID %CPU %MEM COMMAND\n"
        "me 1 x\n"
        "me 2 12.7 0.1 /opt/Editor --flag\n"
        "me 3 99.0 0.1 /opt/Editor\n";
    EXPECT_EQ(cpuUsageInListing(listing, "Editor"), 12);
    EXPECT_EQ(cpuUsageInListing(listing, "editor"), 0);
    EXPECT_EQ(cpuUsageInListing("USER %CPU Editor", "Editor"), 0);
    EXPECT_EQ(cpuUsageInListing("", "Editor"), 0);
}

TEST_F(AppUtilitiesTest, KnowsNumbers) {
    for (const char* text : {"12", "0", "-5"}) EXPECT_TRUE(isNumeric(text)) << text;
    for (const char* text : {"012", "+12", "12a", "", " 1", "-0"}) EXPECT_FALSE(isNumeric(text));
    EXPECT_EQ(stripNonNumerals("a1b-22 .3"), "1223");
    EXPECT_EQ(stripNonNumerals("none"), "");
}

TEST_F(AppUtilitiesTest, FindsApplications) {
    const Path applications = *ZBLocalPaths::applicationDirectory(UserDomain::no);
    const Path tool = applications / "Corvane/Bug Reporter.app";
    ASSERT_FALSE(fake.files.createFolder(tool));
    const std::string identifier = "com.corvane.bugreporter";
    EXPECT_EQ(pathForAppWithBundleID(identifier), std::nullopt);
    fake.bundles.installed[tool] = platform::FakeBundles::bundle(tool, identifier);
    EXPECT_EQ(pathForBundleID(identifier, applications / "Corvane"), tool);
    EXPECT_EQ(pathForBundleID("com.corvane.BugReporter", applications / "Corvane"), std::nullopt);
    EXPECT_EQ(pathForAppWithBundleID(identifier), tool);
    EXPECT_EQ(pathForAppWithBundleID("com.corvane.Larkspan"), Path("/Applications/Larkspan.app"));
}

}  // namespace
}  // namespace larkspan
