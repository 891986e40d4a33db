#include "changes/TreeEquality.h"
#include "changes/XMLFixture.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using testing::firstNamed;
using ::testing::HasSubstr;
using testing::parsed;

std::string utf16(std::string_view ascii, bool bigEndian) {
    std::string out = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char c : ascii) {
        out += bigEndian ? '\0' : c;
        out += bigEndian ? c : '\0';
    }
    return out;
}

std::string nested(size_t levels, const std::string& inner = "x") {
    std::string text;
    for (size_t level = 0; level < levels; ++level) text += "<a>";
    text += inner;
    for (size_t level = 0; level < levels; ++level) text += "</a>";
    return text;
}

TEST(XMLDocumentTest, TakesWhatIsOneWellFormedDocument) {
    using namespace std::string_literals;
    const std::vector<std::string> documents{
        "<a/>",
        "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE xmeml>\n<a>b</a>\n  ",
        "<!-- before --><a/><!-- behind --><?pi?>",
        "<a>&amp;&lt;&gt;&quot;&apos;&#65;&#x42;</a>",
        "<a b='&amp;'><![CDATA[ & && &x; ]]><!-- & --><?p & ?></a>",
        "<!DOCTYPE a [<!ENTITY x \"a & > b\"><!-- ]> & -->]><a/>",
        "<a>\r\n<b>1</b>\r\n</a>\r\n",
        utf16("<a>b</a>", false),
        utf16("<a>b</a>", true),
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xE9</a>",
        "<a>caf\xC3\xA9 \xF0\x9F\x8E\xAC</a>",
        nested(XMLDocument::deepestLevel),
    };
    for (const std::string& text : documents) {
        const auto document = XMLDocument::read(text);
        EXPECT_TRUE(document) << text << (document ? "" : document.error().description);
    }
}

TEST(XMLDocumentTest, SaysWhatIsWrong) {
    using namespace std::string_literals;
    const std::vector<std::pair<std::string, std::string>> table{
        {"", "empty"},
        {"   ", "no root"},
        {"<!-- only -->", "no root"},
        {"just text", "outside of the root"},
        {"<a/>text", "outside of the root"},
        {"text<a/>", "outside of the root"},
        {"<a/><![CDATA[x]]>", "outside of the root"},
        {"<a/><b/>", "more than one root"},
        {"<a><b>", "at byte"},
        {"<a></b>", "at byte"},
        {"<a b=></a>", "at byte"},
        {"<a>&x;</a>", "unknown entity"},
        {"<a>R & B</a>", "unknown entity"},
        {"<a b='&#0;'/>", "unknown entity"},
        {"<a>&#xD800;</a>", "unknown entity"},
        {"<a>&#x110000;</a>", "unknown entity"},
        {"<!DOCTYPE a [<!ENTITY x \"ha\">]><a>&x;</a>", "unknown entity"},
        {"<a>\xE9</a>", "encoding"},
        {"<?xml version=\"1.0\" encoding=\"windows-1252\"?><a>\xE9</a>", "encoding"},
        {"<a>x\0y</a>"s, "at byte"},
        {"<a/>\0"s, "encoding"},
        {nested(XMLDocument::deepestLevel + 1), "nested deeper"},
        {nested(200'000), "nested deeper"},
    };
    for (const auto& [text, expected] : table) {
        const auto document = XMLDocument::read(text);
        ASSERT_FALSE(document) << text.substr(0, 100);
        EXPECT_THAT(document.error().description, HasSubstr(expected)) << text.substr(0, 100);
    }
}

TEST(XMLDocumentTest, EveryTornPieceIsRefused) {
    const std::string text =
        "<?xml version=\"1.0\"?><!DOCTYPE x><x id=\"1\"><!-- c --><y>&amp;</y><![CDATA[z]]></x>";
    for (size_t size = 0; size < text.size(); ++size) {
        EXPECT_FALSE(XMLDocument::read(text.substr(0, size))) << size;
    }
    EXPECT_TRUE(XMLDocument::read(text));
}

TEST(XMLDocumentTest, ListsIdentifiersInOrderWithRepeats) {
    const auto document = parsed(
        "<x id=\"r\"><uuid>U1</uuid><a id=\"A\"><itemhistory><uuid>U2</uuid><uuid>U1</uuid>"
        "</itemhistory></a><a id=\"A\"/><a id=\"\"/><a ID=\"no\"/><uuid/></x>");
    EXPECT_THAT(document->identifiers().uuids, ElementsAre("U1", "U2", "U1", ""));
    EXPECT_THAT(document->identifiers().ids, ElementsAre("r", "A", "A", ""));
}

TEST(XMLDocumentTest, WhatComesLaterInATextBelongsToIt) {
    const auto document = parsed("<x>a<!-- c -->b<y>c</y><![CDATA[d]]> </x>");
    EXPECT_EQ(xmltree::stringValue(document->root()), "abcd");
    EXPECT_EQ(xmltree::firstText(document->root()), "a");
    EXPECT_FALSE(xmltree::hasAtMostOneChild(document->root()));
}

TEST(XMLTreeTest, CountsChildrenOfEveryKind) {
    const std::vector<std::pair<std::string, bool>> table{
        {"<x/>", true},
        {"<x>a</x>", true},
        {"<x><y/></x>", true},
        {"<x> <y/> </x>", true},
        {"<x><!-- c --></x>", true},
        {"<x>a<y/></x>", false},
        {"<x><y/><y/></x>", false},
        {"<x>a<!-- c --></x>", false},
        {"<x a=\"1\" b=\"2\"/>", true},
    };
    for (const auto& [text, expected] : table) {
        EXPECT_EQ(xmltree::hasAtMostOneChild(parsed(text)->root()), expected) << text;
    }
}

TEST(XMLTreeTest, GoesForwardAndBackThroughAllElements) {
    const auto document = parsed("<a><b><c/>text<d><e/></d></b><!-- x --><f/><g><h/></g></a>");
    std::string order;
    TreeNode last;
    for (auto node = document->root(); node; node = xmltree::next(node)) {
        EXPECT_EQ(xmltree::previous(node), last) << node.name();
        order += node.name();
        last = node;
    }
    EXPECT_EQ(order, "abcdefgh");
    EXPECT_STREQ(xmltree::following(firstNamed(document, "d")).name(), "f");
    EXPECT_STREQ(xmltree::following(firstNamed(document, "e")).name(), "f");
    EXPECT_FALSE(xmltree::following(firstNamed(document, "h")));
    EXPECT_FALSE(xmltree::nextWithin(firstNamed(document, "e"), firstNamed(document, "b")));
}

TEST(TreeEqualityTest, LooksAtWhatADocumentSaysAndNotAtHowItIsWritten) {
    struct Case {
        const char* one;
        const char* other;
        bool equal;
    };
    const std::vector<Case> table{
        {"<a><b>1</b></a>", "<a>\n  <b>1</b>\r\n</a>\n", true},
        {"<a x='1' y='2'/>", "<a y=\"2\" x=\"1\"/>", true},
        {"<!DOCTYPE a><a/>", "<a></a>", true},
        {"<?xml version='1.0'?><a/>", "<a/>", true},
        {"<a>b&amp;c</a>", "<a><![CDATA[b&c]]></a>", true},
        {"<a>b<![CDATA[c]]><d/></a>", "<a>bc<d/></a>", true},
        {"<a>b</a>", "<a>b </a>", false},
        {"<a x='1'/>", "<a x='2'/>", false},
        {"<a x='1'/>", "<a/>", false},
        {"<a x='1' y='1'/>", "<a x='1' z='1'/>", false},
        {"<a/>", "<b/>", false},
        {"<a><b/></a>", "<a><b/><b/></a>", false},
        {"<a><b/></a>", "<a/>", false},
        {"<a><b><c/></b></a>", "<a><b/><c/></a>", false},
        {"<a>x<b/></a>", "<a><b/>x</a>", false},
        {"<a><!-- 1 --></a>", "<a><!-- 2 --></a>", false},
        {"<a><!-- 1 --></a>", "<a/>", false},
        {"<a><?p 1?></a>", "<a><?p 2?></a>", false},
        {"<!-- 1 --><a/>", "<a/>", false},
        {"<a>1<!-- c -->2</a>", "<a>12<!-- c --></a>", false},
    };
    for (const auto& [one, other, equal] : table) {
        EXPECT_EQ(areEqualTrees(*parsed(one), *parsed(other)), equal) << one << " " << other;
        EXPECT_EQ(areEqualTrees(*parsed(other), *parsed(one)), equal) << other << " " << one;
    }
}

}  // namespace
}  // namespace larkspan
