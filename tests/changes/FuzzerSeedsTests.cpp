#include "changes/ChangeListFixture.h"
#include "changes/CharacterReference.h"
#include "changes/GoldenFiles.h"
#include "changes/ZBXMLParser.h"

#include <gtest/gtest.h>

namespace larkspan {
namespace {

namespace fs = std::filesystem;
using testing::content;

class FuzzerSeedsTest : public testing::ChangeListTest {};

// What the fuzzers begin with, and found: whole and torn, nothing may crash or be without a list.
TEST_F(FuzzerSeedsTest, GiveLists) {
    int seeds = 0;
    for (const auto& entry :
         fs::directory_iterator(LARKSPAN_SOURCE_DIR "/fuzz/seeds/change-list")) {
        const std::string seed = content(entry.path());
        const size_t middle = seed.find('\0');
        if (middle == std::string::npos) continue;
        const auto oldDoc = XMLDocument::read(seed.substr(0, middle));
        const std::string newText = seed.substr(middle + 1);
        for (size_t size = 0; size <= newText.size(); size += 7) {
            (void)XMLDocument::read(newText.substr(0, size));
        }
        const auto newDoc = XMLDocument::read(newText);
        if (!oldDoc || !newDoc) continue;
        for (const auto differ : {changeListForFCPXMLDoc, changeListForPremiereXMLDoc}) {
            const auto list = differ(newDoc->get(), oldDoc->get(), listsOf(**newDoc, **oldDoc), {});
            ASSERT_TRUE(list);
            EXPECT_FALSE(list->empty());
        }
        ++seeds;
    }
    EXPECT_GE(seeds, 3);
}

// What was escaped always reads back, and every query is run or refused.
TEST_F(FuzzerSeedsTest, EscapeAndCount) {
    int seeds = 0;
    const auto document = testing::parsed("<a id='1'><name>n</name><b><uuid>u</uuid></b></a>");
    for (const auto& entry :
         fs::directory_iterator(LARKSPAN_SOURCE_DIR "/fuzz/seeds/change-helpers")) {
        const std::string seed = content(entry.path());
        for (size_t size = 0; size <= seed.size(); ++size) {
            const std::vector<std::string> lines = split(seed.substr(0, size), '\n');
            EXPECT_TRUE(resolvingReferences(ZBXMLParser::escapeQueryString(lines[0])));
            (void)ZBXMLParser::nodesForQuery(lines[0], document->top());
            if (lines.size() < 4) continue;
            const long timebase = integerValue(lines[2]);
            const FrameCounting counting{.timebase = timebase == 0 ? 30 : timebase,
                                         .firstFrame = integerValue(lines[3])};
            EXPECT_GE(timecodeFromFrames(lines[1], counting).size(), 11U);
        }
        ++seeds;
    }
    EXPECT_GE(seeds, 3);
}

}  // namespace
}  // namespace larkspan
