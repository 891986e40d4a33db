#include "foundation/PropertyList.h"

#include <chrono>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspan {
namespace {

std::string wrapped(const std::string& value) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD "
           "PLIST "
           "1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist "
           "version=\"1.0\">" +
           value + "</plist>\n";
}

Value parsed(const std::string& bytes) {
    auto value = parsePropertyList(bytes);
    if (value) return *value;
    ADD_FAILURE() << value.error().description;
    return "no value";
}

void expectRefused(const std::string& bytes) {
    const auto value = parsePropertyList(bytes);
    ASSERT_FALSE(value) << bytes.substr(0, 200);
    EXPECT_EQ(value.error().domain, propertyListErrorDomain);
    EXPECT_TRUE(value.error().description.ends_with(".")) << value.error().description;
}

Value readBack(const Value& value) {
    return parsed(serializePropertyList(value));
}

TEST(PropertyList, ReadsEveryKindOfValue) {
    const std::vector<std::pair<const char*, Value>> cases = {
        {"<true/>", true},
        {"<false></false>", false},
        {"<integer>42</integer>", 42},
        {"<integer> -7 </integer>", -7},
        {"<integer>9223372036854775807</integer>", std::numeric_limits<std::int64_t>::max()},
        {"<integer>-9223372036854775808</integer>", std::numeric_limits<std::int64_t>::min()},
        {"<integer>9223372036854775808</integer>", std::numeric_limits<std::int64_t>::max()},
        {"<integer>18446744073709551615</integer>", std::numeric_limits<std::int64_t>::max()},
        {"<integer/>", 0},
        {"<real>2.5</real>", 2.5},
        {"<real>-1e3</real>", -1000.0},
        {"<string/>", ""},
        {"<string>  a\n b </string>", "  a\n b "},
        {"<string>&lt;&amp;&gt;&apos;&quot;&#65;&#x20AC;</string>", "<&>'\"A\u20AC"},
        {"<string>a<!-- <dict> --><![CDATA[<&]]>b</string>", "a<&b"},
        {"<data>AAEC\n/w==</data>", Data{std::string("\0\1\2\xFF", 4)}},
        {"<data/>", Data{}},
        {"<date>2001-01-01T00:00:00Z</date>", dateFromUnixTime(978'307'200)},
        {"<date>2024-02-29T12:34:56Z</date>", dateFromUnixTime(1'709'210'096)},
        {"<date>1900-01-01T00:00:00Z</date>", dateFromUnixTime(-2'208'988'800)},
        {"<date>2150-06-01T00:00:00Z</date>", dateFromUnixTime(5'693'328'000)},
        {"<array/>", Value::Array{}},
        {"<dict/>", Value::Dictionary{}},
        {"<array><integer>1</integer><array/></array>", Value::Array{1, Value::Array{}}},
        {"<dict><key>a</key><true/><key></key><string>x</string></dict>",
         Value::Dictionary{{"a", true}, {"", "x"}}},
        {"<dict><key>a</key><true/><key>a</key><false/></dict>", Value::Dictionary{{"a", false}}},
    };
    for (const auto& [xml, expected] : cases) {
        EXPECT_EQ(parsed(wrapped(xml)), expected) << xml;
        EXPECT_EQ(parsed("\xEF\xBB\xBF" + wrapped(xml)), expected) << xml;
        EXPECT_EQ(readBack(expected), expected) << xml;
    }
}

TEST(PropertyList, DatesThatADateCannotHoldBecomeTheNearest) {
    EXPECT_GT(*parsed(wrapped("<date>4001-01-01T00:00:00Z</date>")).date(),
              dateFromUnixTime(9'000'000'000));
    EXPECT_LT(*parsed(wrapped("<date>0001-01-01T00:00:00Z</date>")).date(),
              dateFromUnixTime(-9'000'000'000));
    const Date fraction = dateFromUnixTime(-1, 250'000'000);
    EXPECT_EQ(*readBack(fraction).date(), dateFromUnixTime(-1));
}

TEST(PropertyList, RefusesWhatIsNoPropertyList) {
    const std::vector<std::string> refused = {
        "",
        "\xEF\xBB\xBF",
        "   \n",
        "hello",
        "{ old = style; }",
        "<",
        "<plist",
        wrapped(""),
        wrapped("text"),
        wrapped("<dict>"),
        wrapped("<array><dict></array></dict>"),
        wrapped("<dict><key>a</key></dict>"),
        wrapped("<dict><string>a</string></dict>"),
        wrapped("<dict><key>a</key><key>b</key></dict>"),
        wrapped("<array><key>a</key></array>"),
        wrapped("<string>a"),
        wrapped("<string>a</strin>"),
        wrapped("<string><b>a</b></string>"),
        wrapped("<string>&nothing;</string>"),
        wrapped("<string>a&#0;</string>"),
        wrapped("<string>a</string><string>b</string>"),
        wrapped("<dict/><dict/>"),
        wrapped("<html/>"),
        wrapped("<plist><true/></plist>"),
        wrapped("<true/>") + "rubbish",
        wrapped("<true/>") + wrapped("<true/>"),
        wrapped("<true/><!-- open"),
        wrapped("<string a=\">\">x</string>"),
        wrapped(std::string("<string>a\0b</string>", 20)),
        "<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><true/></plist>",
        std::string(largestPropertyList + 1, ' '),
    };
    for (const std::string& bytes : refused) expectRefused(bytes);
}

TEST(PropertyList, EveryTornEndIsRefused) {
    const std::string whole = serializePropertyList(
        Value::Dictionary{{"path", "/Work/A & B"}, {"list", Value::Array{1, 2.5, Data{"abc"}}}});
    for (size_t length = 0; length + 1 < whole.size(); ++length) {
        expectRefused(whole.substr(0, length));
    }
}

std::string nested(const std::string& open, const std::string& close, int levels) {
    std::string text;
    for (int i = 0; i < levels; ++i) text += open;
    for (int i = 0; i < levels; ++i) text += close;
    return wrapped(text);
}

TEST(PropertyList, NestingIsBounded) {
    EXPECT_TRUE(parsePropertyList(nested("<array>", "</array>", deepestPropertyList)));
    expectRefused(nested("<array>", "</array>", deepestPropertyList + 1));
    expectRefused(nested("<array>", "</array>", 200'000));
    expectRefused(nested("<dict><key>a</key>", "</dict>", 100'000));
    std::string unclosed;
    for (int i = 0; i < 200'000; ++i) unclosed += "<!-- <a> --><array a='/'>";
    expectRefused(unclosed);
}

TEST(PropertyList, TextsKeepTheirBytes) {
    std::string everyByte;
    for (int byte = 1; byte < 256; ++byte) everyByte += static_cast<char>(byte);
    std::string longText;
    for (int i = 0; i < 300; ++i) longText += "<a>&]]>\r\n]]" + everyByte;
    for (const std::string& text :
         {everyByte, longText, std::string("]]>"), std::string(" \n\t "), std::string("&amp;"),
          std::string("\xFF\xC3"), std::string("\r\n"), std::string(5000, '>'),
          std::string(5000, 'x').append("]]"), std::string("<!-- -->")}) {
        const Value value = Value::Dictionary{{text, text}};
        EXPECT_EQ(readBack(value), value);
    }
    EXPECT_EQ(readBack(std::string("a\0b", 3)), Value("a\uFFFDb"));
}

TEST(PropertyList, ALongTextWithManyEntitiesIsReadInTime) {
    const Value value = std::string(2'000'000, '&');
    EXPECT_EQ(readBack(value), value);
    std::string hostile;
    for (int i = 0; i < 50'000; ++i) hostile += "&amp;";
    expectRefused(wrapped("<string>" + hostile + "</string>"));
}

TEST(PropertyList, RealsReadBackExactlyWhateverTheLocale) {
    constexpr auto infinity = std::numeric_limits<double>::infinity();
    // Not every machine has a locale with a decimal comma; then the usual one alone must do.
    (void)std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
    EXPECT_THAT(serializePropertyList(0.1), ::testing::HasSubstr("<real>0.1</real>"));
    EXPECT_EQ(parsed(wrapped("<real>0.5</real>")), Value(0.5));
    for (const double value :
         {0.1, -0.0, 1.0 / 3, 1e300, 5e-324, 123456789.125, infinity, -infinity}) {
        EXPECT_EQ(readBack(value), Value(value)) << value;
    }
    EXPECT_TRUE(std::isnan(*readBack(std::nan("")).real()));
    (void)std::setlocale(LC_NUMERIC, "C");
}

TEST(PropertyList, EqualValuesAreWrittenAlike) {
    EXPECT_EQ(
        serializePropertyList(Value::Dictionary{{"b", Value::Array{true}}, {"a", "x"}}),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
        "<plist version=\"1.0\">\n<dict>\n\t<key>a</key>\n\t<string>x</string>\n\t<key>b</key>\n"
        "\t<array>\n\t\t<true/>\n\t</array>\n</dict>\n</plist>\n");
}

}  // namespace
}  // namespace larkspan
