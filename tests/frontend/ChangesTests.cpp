#include "frontend/FrontEndTest.h"
#include "kit/ZBLocalPaths.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::HasSubstr;

class ChangesTest : public testing::FrontEndTest {
  protected:
    ChangesTest() { addProject("AAAA", "/Work/Film/Cut.fcp"); }
};

constexpr Date saved = dateFromUnixTime(1'600'000'000);

TEST_F(ChangesTest, TellsOfEveryVersionWithItsNote) {
    const std::string start = "<xmeml><sequence id='s'><uuid>U</uuid><name>";
    const std::string end = "</name></sequence></xmeml>";
    addVersion("AAAA", "Cut.00001.xml", saved, start + "One" + end);
    addVersion("AAAA", "Cut.00002.xml", saved, start + "One" + end);
    const Value notes = Value::Dictionary{{"Cut.00002.xml", "for the client"}};
    ASSERT_FALSE(savePropertyList(notes, Path("/Store/AAAA.localized/Annotations.plist")));
    const auto told = run({"changes", "Cut"});
    EXPECT_EQ(told.status, ExitStatus::done) << told.messages;
    EXPECT_THAT(told.output, HasSubstr("\n  (Base version)\nCut.00002.xml"));
    EXPECT_THAT(told.output, HasSubstr("\n  No change\n  Note: for the client\n"));
    EXPECT_EQ(run({"changes", "Cut", "--json"}).output, R"text([
  {
    "changes": [
      "(Base version)"
    ],
    "date": "2020-09-13T12:26:40Z",
    "file": "/Store/AAAA.localized/Versions/Cut.00001.xml",
    "version": 1
  },
  {
    "changes": [
      "No change"
    ],
    "date": "2020-09-13T12:26:40Z",
    "file": "/Store/AAAA.localized/Versions/Cut.00002.xml",
    "note": "for the client",
    "version": 2
  }
]
)text");
}

TEST_F(ChangesTest, ShowsLongAndStrangeSentencesSafelyAndNothingElse) {
    const auto named = [](const std::string& name) {
        return "<xmeml><project><name>" + name + "</name><children/></project></xmeml>";
    };
    addVersion("AAAA", "Cut.00001.xml", saved, named("A"));
    addVersion("AAAA", "Cut.00002.xml", saved, named(std::string(5'000, 'x')));
    addVersion("AAAA", "Cut.00003.xml", saved, named("\x01&#27;[31m&#10;\"100%@\" \xC3\x9C"));
    addVersion("AAAA", "Cut.00004.xml", saved, "<torn>");
    const std::string shown = "  Project name changed to " + std::string(1'976, 'x') + "\u2026\n";
    for (int time = 0; time < 2; ++time) {  // made, and read from the cache
        const auto told = run({"changes", "Cut"});
        EXPECT_THAT(told.output, HasSubstr("\n" + shown));
        EXPECT_THAT(told.output, HasSubstr("changed to ??[31m \"100%@\" \xC3\x9C\n"));
        EXPECT_EQ(told.status, ExitStatus::done);
    }
    EXPECT_LT(run({"changes", "Cut", "--json"}).output.size(), 4'000U);
    const Value quiet = Value::Dictionary{{"disable-logging", true}};
    ASSERT_FALSE(savePropertyList(
        quiet, *ZBLocalPaths::prefsDirectory(UserDomain::yes) / organisationPreferencesFile));
    (void)run({"changes", "Cut"});
    ZBLog::finishWriting();
    EXPECT_TRUE(fake.console.printed().empty());
}

TEST_F(ChangesTest, DiagnosisIsForWhoAsksForIt) {
    const auto version = [](const std::string& uuid) {
        return "<xmeml><a><uuid>" + uuid + "</uuid></a><b/></xmeml>";
    };
    addVersion("AAAA", "Cut.00001.xml", saved, version("not \" to be asked for"));
    addVersion("AAAA", "Cut.00002.xml", saved, version("not \" either"));
    EXPECT_EQ(run({"changes", "Cut"}).status, ExitStatus::done);
    EXPECT_TRUE(fake.console.reported().empty());
    addVersion("AAAA", "Cut.00003.xml", saved, version("plain"));
    EXPECT_EQ(run({"changes", "Cut", "--verbose"}).status, ExitStatus::done);
    EXPECT_FALSE(fake.console.reported().empty());
}

TEST_F(ChangesTest, SaysWhenThereIsNothingToTell) {
    EXPECT_THAT(run({"changes", "Cut"}).messages, HasSubstr("has no version yet"));
    EXPECT_EQ(run({"changes", "Other"}).status, ExitStatus::failed);
}

}  // namespace
}  // namespace larkspan
