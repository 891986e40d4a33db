#include "changes/LibraryReader.h"
#include "changes/NodeTableText.h"
#include "changes/PlainReader.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::AnyOf;
using std::string_literals::operator""s;
using testing::textOf;

constexpr size_t deepest = 20;
constexpr size_t largest = 10'000'000;

// What the readers make of a text; "refused" when it is not for them.
std::string plainly(const std::string& text) {
    TextWindow window(text);
    NodeTable table;
    return readPlain(window, deepest, table) ? textOf(table) : "refused";
}

std::string withLibrary(const std::string& text) {
    NodeTable table;
    return readWithLibrary(text, deepest, table) ? "refused" : textOf(table);
}

PieceSource piecesOf(std::string_view text) {
    return [text](std::span<char> buffer) mutable -> std::optional<size_t> {
        const size_t count = std::min(buffer.size(), text.size());
        std::copy_n(text.begin(), count, buffer.begin());
        text.remove_prefix(count);
        return count;
    };
}

std::string inPieces(const std::string& text, size_t firstSize) {
    TextWindow window(piecesOf(text), largest, firstSize);
    NodeTable table;
    return readPlain(window, deepest, table) ? textOf(table) : "refused";
}

TEST(PlainReaderTest, MakesOfATextWhatTheLibraryMakesOfIt) {
    const std::vector<std::string> texts{
        "<a/>",
        "<a></a>",
        "<a />\n",
        "\xEF\xBB\xBF<a/>",
        "<?xml version=\"1.0\"?><a/>",
        "<?xml version='1.0' encoding='utf-8' standalone='yes'?>\r\n<!DOCTYPE a>\r\n<a/>\r\n",
        "<!DOCTYPE a ><!-- one --><a/><!-- two -->",
        "<a>text</a>",
        "<a> \t\r\n</a>",
        "<a>  text  </a>",
        "<a>x<b/>y<b/>z</a>",
        "<a>\n<b>x</b>\n  y\n<b/>\n</a>",
        "<a><b/>x</a>",
        "<a>x<!-- c -->y</a>",
        "<a><!-- c -->x</a>",
        "<a><!----><!-- > <b> & --></a>",
        "<a><!-- one\r\ntwo\rthree\n\r --></a>",
        "<a>x<![CDATA[<b>&amp;\r\n]] >]]>y</a>",
        "<a><![CDATA[]]>x<![CDATA[ ]]></a>",
        "<?xml-stylesheet href='x'?><a><?p?><?q  x > y\r\n?>x<?r ?></a><?s t?>",
        "<a>one\r\ntwo\rthree\nfour\r</a>",
        "<a>&lt;&gt;&amp;&quot;&apos;</a>",
        "<a>&#65;&#x42;&#xe9;&#x20AC;&#128512;&#13;&#x20;</a>",
        "<a>&#32;</a>",
        "<a>R&amp;B \xC3\xA9 \xF0\x9F\x98\x80</a>",
        "<a>a]]>b > c</a>",
        "<a\n\tb='1'  c = \"2\"\r\n d\n=\n'3'/>",
        "<a b='&lt;\"&#x9;' c=\"it's\" d='' e='a\tb\r\nc\nd\re'/>",
        "<a b='1' b='2'></a >",
        "<a:b-c.d_1 \xC3\xA9:x='1'/>",
        "<ab><a></a></ab>",
        "<a><b><c>1</c></b><d/><b><c/></b></a>",
        "<a>\x01\x7F</a>",
    };
    for (const std::string& text : texts) {
        const std::string expected = withLibrary(text);
        ASSERT_NE(expected, "refused") << text;
        EXPECT_EQ(plainly(text), expected) << text;
        for (size_t size = 16; size < text.size() + 2; ++size) {
            EXPECT_THAT(inPieces(text, size), AnyOf(expected, "refused")) << size << ": " << text;
        }
    }
}

TEST(PlainReaderTest, ReadsAcrossTheEdgesOfItsWindow) {
    std::string text = "<!DOCTYPE a>\n<a>\n";
    for (int number = 0; number < 40; ++number) {
        const std::string blanks(static_cast<size_t>(number), ' ');
        text += blanks + "<b c='1'>\xC3\xA9" + blanks + "x&#xE9;</b>\r\n<!-- d --><e/>y&amp;\r\n";
    }
    text += "</a>\n<!-- the end -->\n";
    const std::string expected = withLibrary(text);
    for (size_t size = 80; size < 400; ++size)
        EXPECT_TRUE(inPieces(text, size) == expected) << size;
}

TEST(PlainReaderTest, LeavesToTheLibraryWhatIsNotPlain) {
    const std::vector<std::string> texts{
        "",
        " ",
        "text",
        "<a",
        "<a>",
        "<a>x",
        "<a></b>",
        "<a></ab>",
        "<ab></a>",
        "</a>",
        "<a/></a>",
        "<a/><b/>",
        "<a/>x",
        "x<a/>",
        "<!-- c -->",
        "<!-- c <a/>",
        "<a><!-- c</a>",
        "<a/><?xml version='1.0'?>",
        "<a><?XML x?></a>",
        "<a><?\?></a>",
        "<a><?p x></a>",
        "<a><?p/?></a>",
        "<a><![CDATA[x]></a>",
        "<a/><![CDATA[x]]>",
        "<!DOCTYPE a SYSTEM 'x'><a/>",
        "<!DOCTYPE a [<!ENTITY x 'y'>]><a/>",
        "<a/><!DOCTYPE a>",
        "<a><!DOCTYPE a></a>",
        "<?xml version='1.0' encoding='ISO-8859-1'?><a/>",
        "<?xml version='1.0' encoding='utf-16'?><a/>",
        "<?xml version='1.0' encoding='UTF-8'",
        "<a>&x;</a>",
        "<a>&</a>",
        "<a>a & b</a>",
        "<a>&#0;</a>",
        "<a>&#xD800;</a>",
        "<a>&#x110000;</a>",
        "<a>&#;</a>",
        "<a b/>",
        "<a b=>",
        "<a b=1/>",
        "<a b='1/>",
        "<a b='<'/>",
        "<a b='1'c='2'/>",
        "<a / >",
        "<1/>",
        "< a/>",
        "<a>\xE9</a>",
        "<a>x\0y</a>"s,
        "<a/>\0"s,
        "\xFF\xFE<\0a\0/\0>\0"s,
    };
    for (const std::string& text : texts) {
        EXPECT_EQ(plainly(text), "refused") << text;
        for (const size_t size : {16U, 17U, 20U, 100U}) {
            EXPECT_EQ(inPieces(text, size), "refused") << text;
        }
    }
}

TEST(PlainReaderTest, NestsAsDeepAsItMay) {
    const auto nested = [](size_t levels) {
        std::string text;
        for (size_t level = 0; level < levels; ++level) text += "<a>";
        for (size_t level = 0; level < levels; ++level) text += "</a>";
        return text;
    };
    EXPECT_EQ(plainly(nested(deepest)), withLibrary(nested(deepest)));
    EXPECT_EQ(plainly(nested(deepest + 1)), "refused");
    EXPECT_EQ(withLibrary(nested(deepest + 1)), "refused");
}

TEST(PlainReaderTest, TellsManyNamesApart) {
    std::string text = "<a>";
    for (int number = 0; number < 5000; ++number) {
        const std::string name = "n" + std::to_string(number);
        text += "<" + name + " " + name + "='" + name + "'>" + name + "</" + name + ">";
    }
    text += "</a>";
    EXPECT_EQ(plainly(text), withLibrary(text));
}

TEST(PlainReaderTest, ReadsTextsLongerThanAWindow) {
    const std::string leaf = "<a>\n<b>" + std::string(1'000'000, 'x') + "</b>" +
                             std::string(300'000, ' ') + "<b>&amp;</b></a>" +
                             std::string(500'000, '\n');
    EXPECT_EQ(inPieces(leaf, TextWindow::usualSize), withLibrary(leaf));
}

TEST(PlainReaderTest, LeavesTagsLongerThanAWindowToTheLibrary) {
    const std::string tag = "<a><b c='" + std::string(1'000'000, 'x') + "'/></a>";
    EXPECT_EQ(inPieces(tag, TextWindow::usualSize), "refused");
    EXPECT_EQ(plainly(tag), withLibrary(tag));
}

TEST(PlainReaderTest, AgreesWithTheLibraryOnEveryTornSeed) {
    size_t seeds = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(LARKSPAN_SOURCE_DIR "/fuzz/seeds/document-reader")) {
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string seed((std::istreambuf_iterator<char>(file)), {});
        for (size_t size = 0; size <= seed.size(); ++size) {
            const std::string torn = seed.substr(0, size);
            EXPECT_THAT(plainly(torn), AnyOf(withLibrary(torn), "refused")) << torn;
        }
        ++seeds;
    }
    EXPECT_GE(seeds, 2U);
}

TEST(TextWindowTest, GivesATextPieceByPiece) {
    const std::string text = "0123456789\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80 the end";
    for (size_t size = 16; size < text.size() + 3; ++size) {
        TextWindow window(piecesOf(text), largest, size);
        std::string seen;
        const char* at = window.begin();
        do {
            // Something is always kept, as by a reader in the middle of a word.
            for (; at + 3 < window.end(); ++at) seen += *at;
            EXPECT_EQ(*window.end(), '\0');
        } while (window.readOn(at));
        seen.append(at, window.end());
        EXPECT_EQ(seen, text) << size;
        EXPECT_TRUE(window.isSound());
    }
}

TEST(TextWindowTest, TellsWhatIsNoText) {
    const auto isSound = [](const std::string& text, size_t limit) {
        TextWindow window(piecesOf(text), limit, 16);
        const char* at = window.begin();
        do {
            at = window.end();
        } while (window.readOn(at));
        return window.isSound();
    };
    EXPECT_TRUE(isSound("0123456789", 10));
    EXPECT_FALSE(isSound("0123456789", 9));
    EXPECT_FALSE(isSound("01\xE9", 10));
    EXPECT_FALSE(isSound("01\xE9"s + "234", 10));
    EXPECT_FALSE(isSound("01\x80\x80\x80\x80\x80\x80", 10));
    EXPECT_FALSE(isSound("0123\0"s, 10));
    EXPECT_FALSE(isSound("01\0"s + "23456", 10));
    const TextWindow torn([](std::span<char>) { return std::nullopt; }, 10);
    EXPECT_FALSE(torn.isSound());
    EXPECT_EQ(torn.begin(), torn.end());
}

}  // namespace
}  // namespace larkspan
