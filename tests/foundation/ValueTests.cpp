#include "foundation/Date.h"
#include "foundation/Result.h"
#include "foundation/Uuid.h"
#include "foundation/Value.h"

#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace larkspan {
namespace {

using namespace std::chrono_literals;

TEST(Value, ReadsAsAnInteger) {
    constexpr long largest = std::numeric_limits<long>::max();
    const std::vector<std::pair<Value, long>> cases = {
        {true, 1},
        {false, 0},
        {-3, -3},
        {2.9, 2},
        {-2.9, -2},
        {1e300, largest},
        {std::nan(""), 0},
        {"12 frames", 12},
        {"yes", 0},
        {Data{"1"}, 0},
        {Value::Array{1}, 0},
        {Value(), 0},
        {dateFromUnixTime(5), 0},
        {-std::numeric_limits<double>::infinity(), -largest - 1},
    };
    for (const auto& [value, expected] : cases) {
        EXPECT_EQ(value.integerValue(), expected) << describe(value);
        EXPECT_EQ(value.booleanValue(), expected != 0) << describe(value);
    }
}

TEST(Value, EqualsNumbersOnly) {
    EXPECT_TRUE(Value(1).equalsNumber(1));
    EXPECT_TRUE(Value(true).equalsNumber(1));
    EXPECT_TRUE(Value(1.0).equalsNumber(1));
    EXPECT_FALSE(Value(1.5).equalsNumber(1));
    EXPECT_FALSE(Value("1").equalsNumber(1));
    EXPECT_FALSE(Value(Value::Array{}).equalsNumber(0));
}

TEST(Value, TellsKindsApart) {
    EXPECT_NE(Value(1), Value(true));
    EXPECT_NE(Value("1"), Value(Data{"1"}));
    EXPECT_EQ(Value(), Value(Value::Dictionary{}));
    EXPECT_FALSE(Value(1).string());
    const Value dictionary = Value::Dictionary{{"a", 1}};
    ASSERT_TRUE(dictionary.find("a"));
    EXPECT_EQ(*dictionary.find("a"), Value(1));
    EXPECT_FALSE(dictionary.find("b"));
    EXPECT_FALSE(Value("a").find("a"));
}

TEST(Value, DescribesItselfOnOneLine) {
    EXPECT_EQ(
        describe(Value::Array{"/a", Value::Dictionary{{"path", "/b/"}, {"flag", "0010"}}, true}),
        "(\"/a\", {flag = \"0010\"; path = \"/b/\"}, 1)");
    EXPECT_EQ(describe(Data{"abc"}), "<3 bytes>");
    Value deep;
    for (int i = 0; i < 100; ++i) deep = Value::Array{deep};
    EXPECT_LT(describe(deep).size(), 100U);
}

TEST(Date, MeasuresAndCutsSeconds) {
    const Date moment = dateFromUnixTime(1'700'000'000, 999'999'999);
    EXPECT_EQ(unixSeconds(moment), 1'700'000'000);
    EXPECT_EQ(unixSeconds(dateFromUnixTime(-1, 1)), -1);
    EXPECT_EQ(secondsBetween(moment, moment + 1ns), Seconds(1e-9));
    EXPECT_EQ(secondsBetween(moment + 90s, moment), Seconds(-90));
}

TEST(Date, DatesOutOfRangeBecomeTheNearest) {
    constexpr long long farAway = std::numeric_limits<long long>::max();
    const Date latest = dateFromUnixTime(farAway, 999'999'999);
    const Date earliest = dateFromUnixTime(-farAway);
    EXPECT_GT(latest, dateFromUnixTime(9'000'000'000));
    EXPECT_LT(earliest, dateFromUnixTime(-9'000'000'000));
    EXPECT_GT(secondsBetween(earliest, latest), Seconds(1.8e10));
    EXPECT_EQ(dateDescription(latest).substr(0, 4), "2262");
}

TEST(Date, DescribesItselfInTheLocalTimeZone) {
    const std::string text = dateDescription(dateFromUnixTime(1'700'000'000, 5));
    ASSERT_EQ(text.size(), std::string("2023-11-14 22:13:20 +0000").size());
    EXPECT_EQ(text.substr(0, 9), "2023-11-1");
    EXPECT_EQ(text.substr(17, 2), "20");
    EXPECT_TRUE(text[20] == '+' || text[20] == '-');
}

TEST(Uuid, IsRandomAndWellFormed) {
    std::set<std::string> seen;
    for (int i = 0; i < 1000; ++i) {
        const std::string uuid = generateUUID();
        EXPECT_TRUE(isUUID(uuid)) << uuid;
        EXPECT_EQ(uuid[14], '4');
        EXPECT_NE(std::string("89AB").find(uuid[19]), std::string::npos);
        seen.insert(uuid);
    }
    EXPECT_EQ(seen.size(), 1000U);
}

TEST(Uuid, IsTold) {
    EXPECT_TRUE(isUUID("6f9619ff-8b86-d011-b42d-00cf4fc964ff"));
    for (const char* text :
         {"", "6F9619FF", "6F9619FF-8B86-D011-B42D-00CF4FC964FG",
          "6F9619FF08B86-D011-B42D-00CF4FC964FF", "6F9619FF-8B86-D011-B42D-00CF4FC964FF "}) {
        EXPECT_FALSE(isUUID(text)) << text;
    }
}

TEST(Result, HoldsAValueOrAnError) {
    const Result<int> value(5);
    ASSERT_TRUE(value);
    EXPECT_EQ(*value, 5);
    const Result<int> error(posixError(2, "Opening /a"));
    ASSERT_FALSE(error);
    EXPECT_TRUE(error.error().is(posixErrorDomain, 2));
    EXPECT_TRUE(error.error().description.starts_with("Opening /a: "));
    EXPECT_THROW((void)*error, std::bad_variant_access);
}

}  // namespace
}  // namespace larkspan
