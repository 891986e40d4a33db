#include "changes/XMLFixture.h"
#include "changes/ZBXMLParser.h"

#include <array>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using testing::firstNamed;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::parsed;

class ZBXMLParserTest : public testing::FakePlatformTest {
  protected:
    ZBXMLParserTest() { ZBLog::createNewLog("Test"); }
};

std::vector<std::string> valuesOf(const std::vector<XMLNode>& nodes) {
    std::vector<std::string> values;
    for (const XMLNode& node : nodes) values.push_back(node.stringValue());
    return values;
}

TEST_F(ZBXMLParserTest, EscapesQueries) {
    const std::vector<std::pair<std::string, std::string>> table{
        {"", ""},
        {"./name[1]/text()", "./name[1]/text()"},
        {"a&amp;b", "a&amp;b"},
        {"a&b", "a&amp;b"},
        {"&", "&amp;"},
        {"&a", "&amp;a"},
        {"&amp", "&amp;amp"},
        {"&amp;amp;", "&amp;amp;"},
        {"&lt;", "&amp;lt;"},
        {"&&amp;&", "&amp;&amp;&amp;"},
        {"\xC3\xA9", "&#233;"},
        {"\xC2\xA0", "&#160;"},
        {"\xC2\x9F", "\xC2\x9F"},
        {"\xF0\x9F\x8E\xAC", "&#55356;&#57260;"},
        {"\r", "&#13;"},
        {"a\tb\nc", "abc"},
        {"\x13|\x14", "|\x14"},
        {"%@ %s", "%@ %s"},
    };
    for (const auto& [query, expected] : table) {
        EXPECT_EQ(ZBXMLParser::escapeQueryString(query), expected) << query;
    }
}

TEST_F(ZBXMLParserTest, ADroppedCharacterIsLogged) {
    EXPECT_EQ(ZBXMLParser::escapeQueryString("\x02"), "");
    EXPECT_THAT(loggedLines(), ElementsAre("Stripped character \x02"));
}

TEST_F(ZBXMLParserTest, RunsQueriesWithReferencesInLiterals) {
    const auto document = parsed(
        "<x><uuid>R&amp;B</uuid><uuid>caf\xC3\xA9</uuid><uuid>&amp;amp;</uuid><a id=\"\xF0\x9F\x8E"
        "\xAC\"/><uuid>tab&#9;</uuid><name>n<!-- c -->m</name><a id='it\"s'/></x>");
    const std::vector<std::pair<std::string, std::vector<std::string>>> table{
        {"//uuid[text()=\"R&B\"]", {"R&B"}},
        {"//uuid[text()=\"R&amp;B\"]", {"R&B"}},
        {"//uuid[text()=\"caf\xC3\xA9\"][1]", {"caf\xC3\xA9"}},
        {"//uuid[text()=\"&amp;amp;\"]", {"&amp;"}},
        {"//uuid[text()=\"tab\t\"]", {}},  // the escaping drops it
        {"//@id[.=\"\xF0\x9F\x8E\xAC\"]", {"\xF0\x9F\x8E\xAC"}},
        {"//@id[.='it\"s']", {"it\"s"}},
        {"./x/name[1]/text()", {"n", "m"}},
        {"//text()", {"R&B", "caf\xC3\xA9", "&amp;", "tab\t", "n", "m"}},
        {"//@id", {"\xF0\x9F\x8E\xAC", "it\"s"}},
        {"//nothing", {}},
    };
    for (const auto& [query, expected] : table) {
        EXPECT_EQ(valuesOf(ZBXMLParser::nodesForQuery(query, document->top())), expected) << query;
        const auto values = ZBXMLParser::stringValuesForQuery(query, document->top());
        EXPECT_EQ(values.has_value(), !expected.empty()) << query;
    }
    EXPECT_THAT(loggedLines(), ElementsAre("Stripped character", "Stripped character"));
}

TEST_F(ZBXMLParserTest, AQueryThatCannotBeRunIsLoggedAndFindsNothing) {
    const auto document = parsed("<x/>");
    for (const char* query :
         {"//[", "//a[text()=\"x\"y\"]", "//a[text()=\"x", "\xC3\xA9", "1", ""}) {
        EXPECT_THAT(ZBXMLParser::nodesForQuery(query, document->root()), IsEmpty()) << query;
        EXPECT_FALSE(ZBXMLParser::nodeForQuery(query, document->root())) << query;
        EXPECT_FALSE(ZBXMLParser::stringValueForQuery(query, document->root())) << query;
    }
    const auto lines = loggedLines();
    ASSERT_EQ(lines.size(), 12U);
    EXPECT_THAT(lines.front(), HasSubstr("XML parsing error: "));
}

TEST_F(ZBXMLParserTest, JoinsWhatSeveralQueriesFind) {
    const auto document = parsed("<x><a>1</a><b>2</b><a>3</a></x>");
    const std::array<std::string, 3> queries{"./b", "./*", "//["};
    EXPECT_THAT(valuesOf(ZBXMLParser::nodesFromQueries(document->root(), queries)),
                ElementsAre("2", "1", "3"));
    const std::array nodes{document->root(), document->root()};
    EXPECT_THAT(valuesOf(ZBXMLParser::queryNodes(nodes, "./a")), ElementsAre("1", "3", "1", "3"));
}

TEST_F(ZBXMLParserTest, FindsNames) {
    struct Case {
        const char* document;
        const char* name;        // "-" for none
        const char* ofChildren;  // the immediate ones
    };
    const std::vector<Case> table{
        {"<x><name>A</name><name>B</name></x>", "A", "A"},
        {"<x><name/><y><name>B</name></y></x>", "B", "-"},
        {"<x><y><name>B</name></y><name>A</name></x>", "A", "A"},
        {"<x><y><name/><name>no</name></y><z><name>B</name></z></x>", "B", "-"},
        {"<x id=\"i%201\"/>", "i 1", "-"},
        {"<x id=\"50%\"/>", "50%", "-"},
        {"<x><name>A%20B</name></x>", "A B", "A B"},
        {"<x><name>100%</name></x>", "100%", "100%"},
        {"<x><name>caf%C3%A9</name></x>", "caf%C3%A9", "caf%C3%A9"},
        {"<x><name>\xC3\xA9%41</name></x>",
         "\xC3\xA9"
         "A",
         "\xC3\xA9"
         "A"},
        {"<x><name>%@ %zz %4</name></x>", "%@ %zz %4", "%@ %zz %4"},
        {"<x><name><b>deep</b></name></x>", "-", "-"},
        {"<x><name><![CDATA[C]]></name></x>", "C", "C"},
        {"<x/>", "-", "-"},
    };
    for (const auto& [text, name, ofChildren] : table) {
        const auto document = parsed(text);
        EXPECT_EQ(ZBXMLParser::nameForNode(document->root()).value_or("-"), name) << text;
        EXPECT_EQ(ZBXMLParser::nameForNode(document->root(), ImmediateChildOnly::yes).value_or("-"),
                  ofChildren)
            << text;
    }
}

TEST_F(ZBXMLParserTest, FindsIdentifiers) {
    const auto document = parsed("<x><y id=\"a%2Fb\"><uuid>U%2D1</uuid></y><z/></x>");
    EXPECT_EQ(ZBXMLParser::uuidForNode(document->root()), "U-1");
    EXPECT_EQ(ZBXMLParser::uuidForNode(document->root(), ImmediateChildOnly::yes), std::nullopt);
    EXPECT_EQ(ZBXMLParser::uuidForNode(firstNamed(document, "z")), std::nullopt);
    EXPECT_EQ(ZBXMLParser::idAttributeForNode(firstNamed(document, "y")), "a/b");
    EXPECT_EQ(ZBXMLParser::idAttributeForNode(document->root()), std::nullopt);
}

TEST_F(ZBXMLParserTest, LooksUpwardsAndSideways) {
    const auto document = parsed("<a><b><c><b><d/></b></c></b><e/></a>");
    const auto node = firstNamed(document, "d");
    constexpr std::array<std::string_view, 1> limits{"c"};
    constexpr std::array<std::string_view, 1> own{"b"};
    EXPECT_STREQ(ZBXMLParser::parentWithName(node, "b").parent().name(), "c");
    EXPECT_STREQ(ZBXMLParser::parentWithName(node, "a", own).name(), "");
    EXPECT_STREQ(ZBXMLParser::parentWithName(node, "a", limits).name(), "");
    EXPECT_STREQ(ZBXMLParser::parentWithName(node, "c").name(), "c");
    EXPECT_FALSE(ZBXMLParser::parentWithName(node, "d"));
    EXPECT_STREQ(ZBXMLParser::nextSiblingForNode(node).name(), "e");
    EXPECT_FALSE(ZBXMLParser::nextSiblingForNode(firstNamed(document, "e")));
}

TEST_F(ZBXMLParserTest, TakesThePathOutOfAUrl) {
    const std::vector<std::pair<std::string, std::string>> table{
        {"file://localhost/Movies/A%20B.mov", "/Movies/A B.mov"},
        {"file:///caf%C3%A9.mov", "/caf\xC3\xA9.mov"},
        {"/plain/path.mov", "/plain/path.mov"},
        {"file://localhost", ""},
        {"file://localhost/50%.mov", "/50%.mov"},
        {"http://host/a?b#c", "/a"},
        {"", ""},
    };
    for (const auto& [url, path] : table) {
        EXPECT_EQ(ZBXMLParser::filenameFromPathURLString(url), path) << url;
    }
    EXPECT_EQ(ZBXMLParser::filenameFromPathURLString(std::nullopt), std::nullopt);
}

TEST_F(ZBXMLParserTest, GathersWhatTransitionsJoin) {
    const auto item = [](const char* name, const char* start, const char* end) {
        return std::string("<") + name + "><start>" + start + "</start><end>" + end + "</end></" +
               name + ">";
    };
    const auto document =
        parsed("<track>" + item("clipitem", "0", "10") + item("clipitem", "10", "-1") +
               item("transitionitem", "20", "30") + item("clipitem", "-1", "-1") +
               item("transitionitem", "40", "50") + item("clipitem", "-1", "70") +
               item("clipitem", "70", "80") + "</track>");
    auto clip = firstNamed(document, "clipitem");
    for (int i = 0; i < 3; ++i) clip = xmltree::nextElementSibling(clip);
    const auto joined = ZBXMLParser::affectedNodesForClip(clip);
    ASSERT_EQ(joined.nodes.size(), 5U);
    EXPECT_EQ(joined.rangeStart, 10);
    EXPECT_EQ(joined.rangeEnd, 70);
    const auto alone = ZBXMLParser::affectedNodesForClip(firstNamed(document, "clipitem"));
    EXPECT_EQ(alone.nodes.size(), 1U);
    EXPECT_EQ(alone.rangeEnd, 10);
    EXPECT_THAT(ZBXMLParser::affectedNodesForClip({}).nodes, ::testing::SizeIs(1));
}

}  // namespace
}  // namespace larkspan
