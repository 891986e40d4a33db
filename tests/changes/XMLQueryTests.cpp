#include "changes/XMLFixture.h"
#include "changes/XMLQuery.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAreArray;

std::vector<std::string> valuesOf(const XMLDocument::Pointer& document, const char* query) {
    const auto found = runQuery(query, document->top());
    if (!found) return {found.error().description};
    std::vector<std::string> values;
    for (const XMLNode& hit : *found) values.push_back(hit.stringValue());
    return values;
}

TEST(XMLQueryTest, FindsTextsAttributesAndElementsInTheirOrder) {
    const auto document = testing::parsed(
        "<a x='1' y='2'>one<b x='3'>two</b>three<b><![CDATA[four]]><!-- c --></b><b/></a>");
    const std::vector<std::pair<const char*, std::vector<std::string>>> table{
        {"//text()", {"one", "two", "three", "four"}},
        {"/a/text()", {"one", "three"}},
        {"//b[text()='two']/@x", {"3"}},
        {"//b[not(text())]", {""}},
        {"//@x", {"1", "3"}},
        {"//@*", {"1", "2", "3"}},
        {"/a[text()='three']/@y", {"2"}},
        {"//b", {"two", "four", ""}},
        {"//comment()", {" c "}},
        {"/", {"onetwothreefour"}},
    };
    for (const auto& [query, expected] : table) {
        EXPECT_THAT(valuesOf(document, query), ElementsAreArray(expected)) << query;
    }
}

TEST(XMLQueryTest, GivesTheOwnersOfWhatItFinds) {
    const auto document = testing::parsed("<a>one<b y='0' x='1'>two</b><c>x<b/>three</c></a>");
    const auto attributes = runQuery("//@x", document->top());
    ASSERT_TRUE(attributes);
    ASSERT_EQ(attributes->size(), 1U);
    EXPECT_EQ(attributes->front().kind, XMLNode::Kind::attribute);
    EXPECT_EQ(attributes->front().node, testing::firstNamed(document, "b"));
    EXPECT_STREQ(attributes->front().attribute.name(), "x");
    const auto texts = runQuery("//text()", document->top());
    ASSERT_TRUE(texts);
    std::string owners;
    for (const XMLNode& hit : *texts) owners += hit.node.name();
    EXPECT_EQ(owners, "abcc");
}

TEST(XMLQueryTest, AsksNothingOfAMissingNode) {
    const auto found = runQuery("//a", TreeNode());
    ASSERT_TRUE(found);
    EXPECT_TRUE(found->empty());
    EXPECT_FALSE(runQuery("//[", TreeNode()));
}

TEST(XMLQueryTest, AnswersManyThreadsAtOnce) {
    std::string text = "<a>";
    for (int number = 0; number < 1000; ++number) text += "<b>x</b>";
    const auto document = testing::parsed(text + "</a>");
    std::atomic<size_t> found{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&] { found += valuesOf(document, "//b/text()").size(); });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(found, 4000U);
}

}  // namespace
}  // namespace larkspan
