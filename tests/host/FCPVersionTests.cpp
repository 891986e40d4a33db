#include "host/FCPVersion.h"
#include "kit/ZBLocalPaths.h"
#include "support/FakePlatformTest.h"

#include <stdexcept>

namespace larkspan {
namespace {

TEST(FCPVersionTextTest, GivesTheMajorVersionByItsFirstCharacter) {
    struct Case {
        const char* version;
        int major;
    };
    const Case cases[] = {{"", 7},     {"6", 6}, {"5.1.4", 5}, {"7.0", 7},
                          {"10.1", 1}, {"x", 0}, {"v7", 0},    {".5", 0}};
    for (const Case& c : cases) {
        EXPECT_EQ(FCPVersion::majorVersionOf(c.version), c.major) << c.version;
    }
}

TEST(FCPVersionTextTest, GivesTheHighestInterchangeVersion) {
    struct Case {
        const char* version;
        int highest;
    };
    const Case cases[] = {{"4.5", 1},   {"4.9.9", 1}, {"0.0.0", 1}, {"5.0", 3},     {"5.0.4", 3},
                          {"5.1", 2},   {"5.1.0", 2}, {"5.1.1", 2}, {"5.1.2", 3},   {"5.2.1", 3},
                          {"6.0.6", 4}, {"6.9", 4},   {"7.0.3", 5}, {"7.0.3.1", 5}, {"10.0", 5},
                          {"x.y", 1},   {"..", 1}};
    for (const Case& c : cases) {
        EXPECT_EQ(FCPVersion::maximumXMEMLVersionOf(c.version), c.highest) << c.version;
    }
}

// One zero is not enough for these.
TEST(FCPVersionTextTest, RefusesAVersionOfOnePart) {
    for (const char* version : {"", "7", "x"}) {
        EXPECT_THROW((void)FCPVersion::maximumXMEMLVersionOf(version), std::out_of_range);
    }
}

class FCPVersionTest : public testing::FakePlatformTest {
  protected:
    void install(const Path& application, const char* version) {
        const Value info = Value::Dictionary{{"CFBundleShortVersionString", version}};
        ASSERT_FALSE(savePropertyList(info, application / "Contents/Info.plist"));
    }
};

TEST_F(FCPVersionTest, LooksForTheApplicationInItsUsualPlaces) {
    const Path applications = *ZBLocalPaths::applicationDirectory(UserDomain::no);
    EXPECT_EQ(FCPVersion::finalCutProVersionString(), "7.0");
    EXPECT_EQ(FCPVersion::finalCutProMajorVersion(), 7);
    EXPECT_EQ(FCPVersion::maximumXMEMLVersion(), 5);
    install(applications / "Final Cut Pro.app", "5.1.1");
    EXPECT_EQ(FCPVersion::finalCutProVersionString(), "5.1.1");
    install(applications / "Final Cut Studio/Final Cut Pro.app", "6.0.6");
    EXPECT_EQ(FCPVersion::finalCutProVersionString(), "6.0.6");
    install(Path("/Elsewhere/Editor.app"), "7.0.3");
    fake.applications.install("com.apple.FinalCutPro", Path("/Elsewhere/Editor.app"));
    EXPECT_EQ(FCPVersion::finalCutProVersionString(), "7.0.3");
    EXPECT_EQ(FCPVersion::finalCutProMajorVersion(), 7);
}

TEST_F(FCPVersionTest, AnApplicationThatDoesNotTellHasNoVersion) {
    const Path info("/Elsewhere/Editor.app/Contents/Info.plist");
    fake.applications.install("com.apple.FinalCutPro", Path("/Elsewhere/Editor.app"));
    EXPECT_EQ(FCPVersion::finalCutProVersionString(), "7.0");
    for (const char* content : {"", "torn", "<plist version=\"1.0\"><dict/></plist>"}) {
        writeFile(info, content);
        EXPECT_EQ(FCPVersion::finalCutProVersionString(), "");
        EXPECT_EQ(FCPVersion::finalCutProMajorVersion(), 7);
        EXPECT_THROW((void)FCPVersion::maximumXMEMLVersion(), std::out_of_range);
    }
}

}  // namespace
}  // namespace larkspan
