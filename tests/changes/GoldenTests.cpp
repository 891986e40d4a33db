#include "changes/ChangeListFixture.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

namespace larkspan {
namespace {

namespace fs = std::filesystem;

class GoldenTest : public testing::ChangeListTest {
  protected:
    static std::string content(const fs::path& file) {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
};

// Documents that editing applications wrote, with the change lists that they must give.
TEST_F(GoldenTest, RealDocumentsGiveTheirLists) {
    int pairs = 0;
    for (const auto& entry :
         fs::directory_iterator(fs::path(LARKSPAN_SOURCE_DIR) / "tests/changes/golden")) {
        if (entry.path().extension() != ".txt") continue;
        const std::string stem = (entry.path().parent_path() / entry.path().stem()).string();
        const std::string oldText = content(stem + ".old.xml");
        const std::string newText = content(stem + ".new.xml");
        EXPECT_EQ(joined(changes(oldText, newText), "\n") + "\n", content(entry.path())) << stem;
        EXPECT_EQ(changes(newText, newText), testing::Sentences{"No change"});
        ++pairs;
    }
    EXPECT_GE(pairs, 2);
}

// What the fuzzers begin with, and found: whole and torn, nothing may crash or be without a list.
TEST_F(GoldenTest, FuzzerSeedsGiveLists) {
    int seeds = 0;
    for (const auto& entry :
         fs::directory_iterator(fs::path(LARKSPAN_SOURCE_DIR) / "fuzz/seeds/change-list")) {
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

}  // namespace
}  // namespace larkspan
