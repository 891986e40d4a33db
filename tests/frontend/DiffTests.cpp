#include "frontend/FrontEndTest.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

class DiffTest : public testing::FrontEndTest {
  protected:
    static std::string finalCut(const std::string& value) {
        return "<xmeml><project><name>" + value + "</name><children/></project></xmeml>";
    }
    static std::string premiere(const std::string& value) {
        return "<PremiereData><MZ.WorkInPoint>" + value + "</MZ.WorkInPoint></PremiereData>";
    }
    testing::Outcome diff(const std::string& oldContent, const std::string& newContent,
                          const std::vector<std::string>& more = {}) {
        writeFile(Path("/Work/old.xml"), oldContent);
        writeFile(Path("/Work/new.xml"), newContent);
        std::vector<std::string> arguments{"diff", "old.xml", "/Work/new.xml"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run(arguments);
    }
};

TEST_F(DiffTest, SaysASentenceALine) {
    const auto changed = diff(finalCut("A"), finalCut("B"));
    EXPECT_EQ(changed.status, ExitStatus::done);
    EXPECT_EQ(changed.output, "Project name changed to B\n");
    EXPECT_EQ(diff(finalCut("A"), finalCut("A")).output, "No change\n");
    EXPECT_EQ(diff(premiere("1"), premiere("2")).output, "Work Area in point set to 2\n");
    EXPECT_EQ(diff(finalCut("A"), finalCut("a\"b&#10;c"), {"--json"}).output,
              "[\n  \"Project name changed to a\\\"b\\nc\"\n]\n");
}

TEST_F(DiffTest, WritesNothingButTheSentences) {
    const auto changed = diff("<a><b><c/>x</b></a>", "<a><b>y<c/></b><d>1</d></a>");
    EXPECT_EQ(changed.output, "No notable changes\n");
    EXPECT_EQ(diff("<a><b>1</b></a>", "<a><b>2</b></a>").output, "B changed to 2\n");
    ZBLog::finishWriting();
    EXPECT_TRUE(fake.console.printed().empty());
}

TEST_F(DiffTest, UnpacksCompressedProjects) {
    // "<PremiereData><MZ.WorkInPoint>7</MZ.WorkInPoint></PremiereData>", as gzip writes it.
    const std::string packed = std::string(
        "\037\213\010\000\000\000\000\000\002\003\263\011\050\112\315\315\114\055\112\165"
        "\111\054\111\264\263\361\215\322\013\317\057\312\366\314\013\310\317\314\053\261"
        "\063\267\321\107\023\261\321\107\321\000\000\135\012\203\004\077\000\000\000",
        59);
    EXPECT_EQ(diff(premiere("1"), packed).output, "Work Area in point set to 7\n");
    EXPECT_EQ(diff(packed.substr(0, 40), packed).status, ExitStatus::failed);
}

TEST_F(DiffTest, ShowsLongAndStrangeValuesSafely) {
    const auto longName = diff(finalCut("A"), finalCut(std::string(5'000, 'x')));
    EXPECT_EQ(longName.output.size(), 2'000 + std::string("\u2026\n").size());
    EXPECT_THAT(longName.output, EndsWith("x\u2026\n"));
    EXPECT_EQ(diff(finalCut("A"), finalCut("a&#27;[31m&#10;b%@")).output,
              "Project name changed to a?[31m b%@\n");
}

TEST_F(DiffTest, SaysWhatCannotBeCompared) {
    std::string deep;
    for (int level = 0; level < 200'000; ++level) deep += "<a>";
    for (int level = 0; level < 200'000; ++level) deep += "</a>";
    const std::vector<std::pair<std::string, std::string>> table{
        {deep, "Elements are nested deeper than 1000 levels."},
        {"<torn>", "\"old.xml\" cannot be read as a project document: "},
        {"", "The file is empty."},
        {"no xml at all", "outside of the root"},
        {premiere("1"), "documents of different applications"},
    };
    for (const auto& [oldContent, message] : table) {
        const auto outcome = diff(oldContent, finalCut("A"));
        EXPECT_EQ(outcome.status, ExitStatus::failed);
        EXPECT_EQ(outcome.output, "");
        EXPECT_THAT(outcome.messages, HasSubstr(message));
    }
    EXPECT_THAT(run({"diff", "gone.xml", "new.xml"}).messages,
                HasSubstr("\"gone.xml\" cannot be read: "));
    EXPECT_EQ(run({"diff", "new.xml"}).status, ExitStatus::wrongUsage);
}

}  // namespace
}  // namespace larkspan
