#include "backup/RenditionRules.h"

#include <gmock/gmock.h>

namespace larkspan {
namespace {

constexpr std::uint64_t megabyte = 1048576;

TEST(RenditionRulesTest, LimitsFollowThePolicy) {
    const struct {
        long policy;
        std::optional<std::uint64_t> megabytes;
        unsigned long gap;
    } cases[] = {{1, 1, 2},  {2, 3, 2},  {3, 5, 1},  {4, 10, 1},  {5, 15, 0},
                 {6, 20, 0}, {7, 30, 0}, {8, {}, 0}, {-1, {}, 0}, {1000, {}, 0}};
    for (const auto& c : cases) {
        const RenditionLimits limits = renditionLimits(c.policy);
        EXPECT_EQ(limits.gap, c.gap) << c.policy;
        ASSERT_EQ(limits.size.has_value(), c.megabytes.has_value()) << c.policy;
        if (!c.megabytes) continue;
        EXPECT_TRUE(isBelow(limits.size, *c.megabytes * megabyte - 64)) << c.policy;
        EXPECT_FALSE(isBelow(limits.size, *c.megabytes * megabyte)) << c.policy;
    }
    EXPECT_TRUE(isBelow(std::nullopt, ~std::uint64_t{0}));
}

TEST(RenditionRulesTest, SizesAreComparedInSinglePrecision) {
    // One byte below 30 MB is 30 MB in single precision.
    EXPECT_FALSE(isBelow(renditionLimits(7).size, 30 * megabyte - 1));
}

TEST(RenditionRulesTest, OnlyAFileWithTheSwitchTurnedOnAllowsRenditions) {
    const struct {
        Preferences preferences;
        long policy;
        bool removesDuplicates;
    } cases[] = {
        {Preferences(), 5, true},
        {Preferences(Value::Dictionary{}), noRenditions, true},
        {Preferences(Value::Dictionary{{"xmlLimit", 7}}), noRenditions, true},
        {Preferences(Value::Dictionary{{"xmlLimit", 7}, {"generateFCPXML", 2}}), noRenditions,
         true},
        {Preferences(Value::Dictionary{{"xmlLimit", 7}, {"generateFCPXML", 1}}), 7, true},
        {Preferences(Value::Dictionary{{"generateFCPXML", true}, {"removeDuplicates", 0}}), 5,
         false},
        {Preferences(Value::Dictionary{{"generateFCPXML", 1}, {"removeDuplicates", 2}}), 5, false},
    };
    for (const auto& c : cases) {
        const RenditionSettings settings = renditionSettings(c.preferences);
        EXPECT_EQ(settings.policy, c.policy) << describe(c.preferences.values());
        EXPECT_EQ(settings.removesDuplicates, c.removesDuplicates)
            << describe(c.preferences.values());
    }
}

TEST(RenditionRulesTest, TidiedXMLKeepsWhatTheDocumentSays) {
    const auto tidied = tidiedXML(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><!DOCTYPE xmeml><!-- by hand -->"
        "<xmeml version='5'><a b='\"&lt;&#10;'>x &amp; é&#13;y</a>  <c/><![CDATA[ <z> ]]></xmeml>");
    ASSERT_TRUE(tidied) << tidied.error().description;
    EXPECT_EQ(*tidied,
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<!DOCTYPE xmeml>\n"
              "<!-- by hand -->\n"
              "<xmeml version=\"5\">\n"
              "\t<a b=\"&quot;&lt;&#10;\">x &amp; é&#13;y</a>\n"
              "\t<c /><![CDATA[ <z> ]]></xmeml>\n");
    // What was tidied once stays as it is.
    EXPECT_EQ(*tidiedXML(*tidied), *tidied);
    EXPECT_EQ(*tidiedXML("<a/>"), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a />\n");
}

TEST(RenditionRulesTest, DepthDoesNotSwellTheXML) {
    std::string deep;
    for (int level = 0; level < 200'000; ++level) deep += "<a>";
    for (int level = 0; level < 200'000; ++level) deep += "</a>";
    const auto tidied = tidiedXML(deep);
    ASSERT_TRUE(tidied) << tidied.error().description;
    EXPECT_LT(tidied->size(), deep.size() + 100);
    EXPECT_EQ(*tidiedXML(*tidied), *tidied);
}

TEST(RenditionRulesTest, WhatIsNoDocumentIsRefused) {
    for (const char* xml : {"", "text", "<a>", "<a/><b/>", "<a>caf\xe9</a>", "<a>&</a>"}) {
        EXPECT_FALSE(tidiedXML(xml)) << xml;
    }
}

}  // namespace
}  // namespace larkspan
