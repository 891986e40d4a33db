#include "backup/Screenshots.h"
#include "support/StoreTest.h"

#include <cerrno>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(ScreenshotRules, TheyAreWantedUnlessSwitchedOff) {
    EXPECT_TRUE(screenshots::areWanted(Preferences()));
    EXPECT_TRUE(screenshots::areWanted(Preferences(Value::Dictionary{{"syncService", 1}})));
    struct Case {
        Value value;
        bool wanted;
    };
    const Case cases[] = {{1, true},  {true, true}, {"1", true},   {0, false},
                          {2, false}, {-1, false},  {"no", false}, {Value::Array{1}, false}};
    for (const Case& c : cases) {
        const Preferences preferences(Value::Dictionary{{"takeScreenshots", c.value}});
        EXPECT_EQ(screenshots::areWanted(preferences), c.wanted) << describe(c.value);
    }
}

TEST(ScreenshotRules, PicturesAreNamedAfterTheirVersion) {
    struct Case {
        const char* filename;
        long number;
        const char* path;
    };
    const Case cases[] = {
        {"Cut.00004", 4, "/S/Cut.00004.jpg"},        {"Cut.00004", 7, "/S/Cut.00007.jpg"},
        {"Edit 1.00012", 12, "/S/Edit 1.00012.jpg"}, {"Cut.123456", 123456, "/S/Cut.123456.jpg"},
        {"100%@.00001", 1, "/S/100%@.00001.jpg"},    {"Cut", 1, "/S/Cut.00001.jpg"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(screenshots::picturePath(Path("/S"), c.filename, {c.number}), Path(c.path));
    }
}

class ScreenshotsTest : public testing::StoreTest {
  protected:
    ScreenshotsTest() { fake.screen.show("picture"); }
    const Path folder = folderOf("A") / "Screenshots";
};

TEST_F(ScreenshotsTest, KeepsAPictureBesideTheVersion) {
    takeScreenshot(folder, "Cut.00004", {4});
    EXPECT_EQ(contentOf(folder / "Cut.00004.jpg"), "picture");
    EXPECT_THAT(loggedLines(), ElementsAre("screenshot path1: " + folder.str() + "/Cut.00004.jpg",
                                           "screenshot path2: " + folder.str() + "/Cut.00004.jpg"));
    ASSERT_EQ(fake.screen.asked().size(), 1U);
    EXPECT_EQ(fake.screen.asked()[0].largestWidth, 1024);
    EXPECT_EQ(fake.screen.asked()[0].compressionFactor, 0.7);
}

TEST_F(ScreenshotsTest, TakesTheNextFreeNumber) {
    writeFile(folder / "Cut.00004.jpg", "first");
    writeFile(folder / "Cut.00005.jpg", "second");
    takeScreenshot(folder, "Cut.00004", {4});
    EXPECT_EQ(contentOf(folder / "Cut.00004.jpg"), "first");
    EXPECT_EQ(contentOf(folder / "Cut.00005.jpg"), "second");
    EXPECT_EQ(contentOf(folder / "Cut.00006.jpg"), "picture");
    EXPECT_EQ(loggedLines().back(), "screenshot path2: " + folder.str() + "/Cut.00006.jpg");
}

TEST_F(ScreenshotsTest, NothingHappensWhenTheyAreSwitchedOff) {
    setPreferences({{"storagePath", "/Store"}, {"takeScreenshots", 0}});
    takeScreenshot(folder, "Cut.00004", {4});
    EXPECT_FALSE(fake.files.exists(folder));
    EXPECT_THAT(loggedLines(), IsEmpty());
    EXPECT_THAT(fake.screen.asked(), IsEmpty());
}

TEST_F(ScreenshotsTest, GoesOnSilentlyWithoutAPicture) {
    fake.screen.show(std::nullopt);
    takeScreenshot(folder, "Cut.00004", {4});
    EXPECT_THAT(namesIn(folder), IsEmpty());
    fake.screen.show("picture");
    fake.faults.refuseCall(platform::FileOperation::writeFileAtomically, 1, ENOSPC);
    takeScreenshot(folder, "Cut.00005", {5});
    EXPECT_THAT(namesIn(folder), IsEmpty());
    EXPECT_EQ(loggedLines().size(), 4U);
    EXPECT_THAT(fake.console.reported(), IsEmpty());
    takeScreenshot(folder, "Cut.00005", {5});
    EXPECT_THAT(namesIn(folder), ElementsAre("Cut.00005.jpg"));
}

TEST_F(ScreenshotsTest, AFileInPlaceOfTheFolderIsLeftAlone) {
    writeFile(folder, "mine");
    takeScreenshot(folder, "Cut.00004", {4});
    EXPECT_EQ(contentOf(folder), "mine");
}

}  // namespace
}  // namespace larkspan
