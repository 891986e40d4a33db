#include "changes/NodeHelpers.h"
#include "changes/Timecode.h"
#include "changes/XMLFixture.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using testing::firstNamed;
using ::testing::IsEmpty;
using testing::parsed;

TEST(TimecodeTest, CountsAsTheSequenceDoes) {
    const std::string dropFrame =
        "<sequence><rate><timebase>30</timebase></rate><clip/></sequence>";
    const auto sequence = [](const std::string& timebase, const std::string& timecode) {
        return "<sequence><rate><timebase>" + timebase + "</timebase></rate><timecode>" + timecode +
               "</timecode><clip><rate><timebase>10</timebase></rate></clip></sequence>";
    };
    const std::string plain25 =
        sequence("25", "<frame>0</frame><displayformat>NDF</displayformat>");
    struct Case {
        std::string document;
        const char* frames;
        const char* expected;
    };
    const std::vector<Case> table{
        {dropFrame, "0", "01:00:00;00"},
        {"<clip/>", "1800", "00:01:00;02"},
        {plain25, "90", "00:00:03:15"},
        {plain25, "2160000", "00:00:00:00"},  // hours wrap at 24
        {plain25, "2159999", "23:59:59:24"},
        {plain25, "-1", "00:00:00:-01"},
        {plain25, "10273.0", "00:06:50:23"},
        {plain25, "NaN", "00:00:00:00"},
        {plain25, "", "00:00:00:00"},
        {sequence("25", "<frame>100</frame>"), "0", "00:00:04;00"},
        {sequence("25", "<frame>0</frame><displayformat>DF</displayformat>"), "15000",
         "00:10:00;18"},
        {sequence("0", "<frame>0</frame>"), "30", "00:00:01;00"},
        {sequence("x", "<frame>0</frame>"), "30", "00:00:01;00"},
        {sequence("-25", "<frame>0</frame><displayformat>NDF</displayformat>"), "25",
         "00:00:-01:00"},
        {"<clip><rate><timebase>24</timebase></rate></clip>", "24", "00:00:01;00"},
        {"<sequence><clip/></sequence>", "-107892", "00:00:00;00"},
    };
    for (const auto& [text, frames, expected] : table) {
        EXPECT_EQ(timecodeFromFrames(frames, firstNamed(parsed(text), "clip")), expected)
            << text << " " << frames;
    }
}

TEST(TimecodeTest, NumbersBeyondAllBoundsDoNotOverflow) {
    const auto document = parsed(
        "<sequence><rate><timebase>-1</timebase></rate><timecode><frame>-99999999999999999999"
        "</frame></timecode><clip/></sequence>");
    for (const char* frames : {"99999999999999999999", "-99999999999999999999", "254016000000"}) {
        EXPECT_FALSE(timecodeFromFrames(frames, firstNamed(document, "clip")).empty());
    }
}

TEST(TimecodeTest, AnElementStartsWhereItsStartOrInSays) {
    const std::vector<std::pair<std::string, std::string>> table{
        {"<x><start>30</start><in>60</in></x>", "00:00:01;00"},
        {"<x><in>60</in></x>", "00:00:02;00"},
        {"<x><start/><in>60</in></x>", "00:00:02;00"},
        {"<x><y><in>60</in></y><z><start>30</start></z></x>", "00:00:01;00"},
        {"<x><y><in>60</in></y></x>", "00:00:02;00"},
        {"<x/>", "-"},
    };
    for (const auto& [text, expected] : table) {
        EXPECT_EQ(startTimeForNode(parsed(text)->root()).value_or("-"), expected) << text;
    }
}

TEST(NodeHelpersTest, KindsAreCapitalised) {
    const std::vector<std::pair<std::string, std::string>> table{
        {"clipitem", "Clip"},           {"generatoritem", "Generatoritem"},
        {"sequence", "Sequence"},       {"LinkRefCount", "Linkrefcount"},
        {"\xC3\xA9tat", "\xC3\x89tat"},
    };
    for (const auto& [name, expected] : table) {
        EXPECT_EQ(typeOfNode(parsed("<" + name + "/>")->root()), expected);
    }
    EXPECT_EQ(typeOfNode({}), "");
    EXPECT_EQ(capitalizeFirstLetter("marker"), "Marker");
    EXPECT_EQ(capitalizeFirstLetter("m"), "M");
    EXPECT_EQ(capitalizeFirstLetter("iN"), "IN");
    EXPECT_EQ(capitalizeFirstLetter("\xC3\xA9t\xC3\xA9"), "\xC3\x89t\xC3\xA9");
    EXPECT_EQ(capitalizeFirstLetter(""), "");
    EXPECT_EQ(capitalizeFirstLetter(std::nullopt), std::nullopt);
}

TEST(NodeHelpersTest, ReadsTheItemHistory) {
    const auto history = [](const std::string& text) {
        return uuidHistoryForNode(parsed(text)->root());
    };
    EXPECT_THAT(history("<c><itemhistory><uuid>1</uuid><uuid>2</uuid></itemhistory></c>"),
                ElementsAre("1"));
    EXPECT_THAT(
        history("<c><f><itemhistory><uuid>1</uuid></itemhistory></f><g><itemhistory/>"
                "<itemhistory><uuid>no</uuid></itemhistory></g><g><itemhistory><uuid>2</uuid>"
                "</itemhistory></g></c>"),
        ElementsAre("1", "2"));
    EXPECT_THAT(history("<c><itemhistory><uuid/></itemhistory><f><itemhistory><uuid>1</uuid>"
                        "</itemhistory></f></c>"),
                IsEmpty());
    EXPECT_THAT(history("<c/>"), IsEmpty());
}

TEST(NodeHelpersTest, RealignsTheOldDocument) {
    const auto base = parsed("<a><b><c/><d/></b><e><f/></e></a>");
    const auto other = parsed("<a><c/><d/><e/><f/><x/></a>");
    struct Case {
        const char* base;
        const char* other;
        const char* expected;
    };
    const std::vector<Case> table{
        {"d", "d", "c"},  // equal names: the one before
        {"c", "d", "d"},  // the next sibling
        {"c", "e", "e"},  // the parent's next sibling
        {"d", "e", "e"},  // the nearest ancestor's next sibling
        {"b", "e", "e"}, {"c", "x", "b"}, {"e", "x", "d"}, {"b", "x", "a"},
    };
    for (const auto& [baseName, otherName, expected] : table) {
        EXPECT_STREQ(nextBaseNode(firstNamed(base, baseName), firstNamed(other, otherName)).name(),
                     expected)
            << baseName << " " << otherName;
    }
    EXPECT_FALSE(nextBaseNode({}, firstNamed(other, "x")));
}

}  // namespace
}  // namespace larkspan
