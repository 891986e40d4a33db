#include "foundation/Text.h"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace larkspan {
namespace {

using Strings = std::vector<std::string>;

TEST(Text, TrimsBothEnds) {
    EXPECT_EQ(trimmed(" \t\r\n a b \n"), "a b");
    EXPECT_EQ(trimmed(" \n "), "");
    EXPECT_EQ(trimmed(""), "");
}

TEST(Text, LowersEveryLetterAndKeepsOtherBytes) {
    EXPECT_EQ(lowercased("ÄÖÜ ÉCLAIR Ωμ ЖЗ Straße"), "äöü éclair ωμ жз straße");
    EXPECT_EQ(lowercased("A\xFF\xC3"), "a\xFF\xC3");
    EXPECT_EQ(lowercased("CUT 🎬 1"), "cut 🎬 1");
}

TEST(Text, ComparesWithoutCase) {
    EXPECT_EQ(caseInsensitiveCompare("Cut", "cUT"), 0);
    EXPECT_EQ(caseInsensitiveCompare("ÄRGER", "ärger"), 0);
    EXPECT_LT(caseInsensitiveCompare("a", "B"), 0);
    EXPECT_GT(caseInsensitiveCompare("ab", "A"), 0);
    EXPECT_LT(caseInsensitiveCompare("", "a"), 0);
    EXPECT_LT(caseInsensitiveCompare("Z", "ä"), 0);
    EXPECT_LT(caseInsensitiveCompare("z", "\xFF"), 0);
}

TEST(Text, ListingOrderIsByNameThenByBytes) {
    Strings names = {"b", "a", "B", "A", "_", "10", "9", "é", "a b", ".x"};
    std::sort(names.begin(), names.end(), listingOrder);
    EXPECT_EQ(names, (Strings{".x", "10", "9", "_", "A", "a", "a b", "B", "b", "é"}));
    EXPECT_FALSE(listingOrder("a", "a"));
}

TEST(Text, SplitsAndJoins) {
    EXPECT_EQ(split("a,,b,", ','), (Strings{"a", "", "b", ""}));
    EXPECT_EQ(split("", ','), Strings{""});
    EXPECT_EQ(joined({"a", "", "b"}, ", "), "a, , b");
    EXPECT_EQ(joined({}, ","), "");
    EXPECT_EQ(replacingAll("aXXbX", "X", "XY"), "aXYXYbXY");
    EXPECT_EQ(replacingAll("abc", "", "x"), "abc");
}

TEST(Text, ReadsIntegersAsFarAsTheyGo) {
    constexpr long smallest = std::numeric_limits<long>::min();
    constexpr long largest = std::numeric_limits<long>::max();
    const std::vector<std::pair<const char*, long>> cases = {
        {"42", 42},   {" \n-7x", -7}, {"+5", 5},
        {"0010", 10}, {"", 0},        {"x1", 0},
        {"+-5", 0},   {"--5", 0},     {"- 5", 0},
        {"1.9", 1},   {"0x10", 0},    {"99999999999999999999", largest},
        {"+", 0},     {"-", 0},       {"-99999999999999999999", smallest},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(integerValue(text), expected) << text;
}

TEST(Text, TellsUtf8) {
    const std::vector<std::pair<std::string, size_t>> invalid = {
        {"\x80", 1},
        {"a\xC3", 2},
        {"\xC0\xAF", 2},
        {"\xE2\x82", 2},
        {"\xED\xA0\x80", 3},
        {"\xF4\x90\x80\x80", 4},
        {"\xF8\x88\x80\x80\x80", 5},
    };
    for (const auto& [text, characters] : invalid) {
        EXPECT_FALSE(isValidUtf8(text));
        EXPECT_EQ(characterCount(text), characters);
        EXPECT_TRUE(isValidUtf8(sanitizedUtf8(text)));
    }
    EXPECT_TRUE(isValidUtf8("aä€🎬"));
    EXPECT_EQ(characterCount("aä€🎬"), 4U);
    EXPECT_EQ(utf16CodeUnits("a\xC3\xA9\xEF\xBF\xBF\xF0\x9F\x8E\xAC\xFF"),
              u"a\u00E9\uFFFF\U0001F3AC\uFFFD");
    EXPECT_EQ(sanitizedUtf8("a\xFF"
                            "ä"),
              "a\uFFFDä");
}

TEST(Text, MatchesWildcards) {
    const std::string uuidNames =
        "*~????????"
        "-????"
        "-????"
        "-????"
        "-????????????";
    const std::string uuid = "6F9619FF-8B86-D011-B42D-00CF4FC964FF";
    struct Case {
        std::string text;
        std::string pattern;
        bool matches;
    };
    const std::vector<Case> cases = {
        {"Cut~" + uuid, uuidNames, true},
        {"~" + uuid, uuidNames, true},
        {"a~b~" + uuid, uuidNames, true},
        {"Cut~" + uuid + "x", uuidNames, false},
        {"Cut-" + uuid, uuidNames, false},
        {"Cut~6F9619FF-8B86-D011-B42D-00CF4FC964F", uuidNames, false},
        {"Schnitt ä~" + uuid, uuidNames, true},
        {"ä", "?", true},
        {"🎬x", "?x", true},
        {"ab", "?", false},
        {"", "?", false},
        {"", "*", true},
        {"", "", true},
        {"a", "", false},
        {"abcabc", "*abc", true},
        {"abcab", "*abc", false},
        {"a*b", "a*b", true},
        {"aXbXc", "a*X*c", true},
        {std::string(5000, 'a'), "*a*a*a*a*a*b", false},
        {"\xFF", "?", true},
        {"A", "a", false},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(matchesWildcard(one.text, one.pattern), one.matches)
            << one.text << " " << one.pattern;
    }
}

}  // namespace
}  // namespace larkspan
