#include "foundation/MessageText.h"
#include "foundation/Value.h"

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace larkspan {
namespace {

TEST(MessageText, FillsPlaceholdersInOrder) {
    EXPECT_EQ(messageText("Nothing to fill, 100%% sure"), "Nothing to fill, 100% sure");
    EXPECT_EQ(messageText("%@ after %i of %li", "a", 1, 2L), "a after 1 of 2");
    EXPECT_EQ(messageText("%@%@", Path("/Work"), std::string("/Film")), "/Work/Film");
    EXPECT_EQ(messageText("%@, %@", Value(Value::Array{"/a", true}), false), "(\"/a\", 1), 0");
    EXPECT_EQ(messageText("%@", dateFromUnixTime(0)), dateDescription(dateFromUnixTime(0)));
    EXPECT_EQ(messageText("a %@ b", std::string("50% of %@")), "a 50% of %@ b");
}

TEST(MessageText, PrintsAsTheDirectiveSays) {
    const std::vector<std::pair<std::string, MessageArgument>> cases = {
        {"%d", 42},
        {"%05d", 42},
        {"%04x", 255},
        {"%lX", 255UL},
        {"%llu", std::numeric_limits<std::uint64_t>::max()},
        {"%0.2f", 1.005},
        {"%.1f", 3},
        {"%i", 2.9},
        {"%@", 2.5},
        {"%s", "text"},
        {"%d", "text"},
        {"%+d", 5},
        {"%lld", std::numeric_limits<std::int64_t>::min()},
    };
    std::string printed;
    for (const auto& [format, argument] : cases)
        printed += formatMessage(format, {&argument, 1}) + "|";
    EXPECT_EQ(printed,
              "42|00042|00ff|FF|18446744073709551615|1.00|3.0|2|2.5|text|text|+5|"
              "-9223372036854775808|");
}

TEST(MessageText, MissingAndSurplusArgumentsAreHarmless) {
    const MessageArgument one("one");
    EXPECT_EQ(formatMessage("%@ and %@ and %i", {&one, 1}), "one and (null) and (null)");
    EXPECT_EQ(formatMessage("nothing", {&one, 1}), "nothing");
    EXPECT_EQ(formatMessage("", {}), "");
}

TEST(MessageText, WhatIsNoPlaceholderStandsAsItIs) {
    const MessageArgument number(7);
    for (const std::string_view text : {"%", "100%", "%l", "%5", "%y", "a %* b", "%\xFF"}) {
        EXPECT_EQ(formatMessage(text, {&number, 1}), text);
    }
    EXPECT_EQ(formatMessage("%%%d%%", {&number, 1}), "%7%");
}

TEST(MessageText, AbsurdWidthsAreBounded) {
    const MessageArgument number(7);
    EXPECT_LT(formatMessage("%1000000d", {&number, 1}).size(), 10'000U);
    EXPECT_LT(formatMessage("%99999999999999999999d", {&number, 1}).size(), 10'000U);
    const MessageArgument real(1e308);
    EXPECT_LT(formatMessage("%.99999f", {&real, 1}).size(), 10'000U);
    const std::string longText(100'000, 'x');
    EXPECT_EQ(messageText("%@", longText), longText);
}

static_assert(detail::countPlaceholders("a %@ %% %i %0.2f %") == 3);
static_assert(detail::countPlaceholders("%%@") == 0);

}  // namespace
}  // namespace larkspan
