#include "frontend/FrontEndTest.h"

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

TEST_F(ChangesTest, SaysWhenThereIsNothingToTell) {
    EXPECT_THAT(run({"changes", "Cut"}).messages, HasSubstr("has no version yet"));
    EXPECT_EQ(run({"changes", "Other"}).status, ExitStatus::failed);
}

}  // namespace
}  // namespace larkspan
