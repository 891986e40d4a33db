#include "platform/linux/VariantValue.h"

#include <limits>

#include <gtest/gtest.h>

namespace larkspan::platform {
namespace {

std::string printed(const Value& value) {
    const VariantHandle variant = variantFromValue(value);
    return TextHandle(g_variant_print(variant.get(), TRUE)).get();
}

TEST(VariantValue, saysWhatDBusCannotCarryInOtherWords) {
    EXPECT_EQ(printed(Value(std::string("a\xff\0z", 4))), "'a\uFFFD\uFFFDz'");
    EXPECT_EQ(printed(Value::Dictionary{{"\xc3(", 1}}), "{'\uFFFD(': <int64 1>}");
    EXPECT_EQ(printed(dateFromUnixTime(-1, 5)), "(int64 -1, uint32 5)");

    Value deep = "core";
    for (int i = 0; i < 100; ++i) deep = Value::Array{deep};
    const VariantHandle variant = variantFromValue(deep);
    Result<Value> back = valueFromVariant(variant.get());
    ASSERT_TRUE(back);
    int levels = 0;
    for (const Value* at = &*back; at->array(); at = &at->array()->front()) ++levels;
    EXPECT_EQ(levels, 24);
}

TEST(VariantValue, understandsWhatOtherProgramsSend) {
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    const struct {
        const char* text;
        Value value;
    } cases[] = {
        {"byte 0xff", 255},
        {"int16 -7", -7},
        {"uint16 7", 7},
        {"int32 -7", -7},
        {"uint32 4294967295", 4294967295L},
        {"uint64 18446744073709551615", most},
        {"objectpath '/a'", "/a"},
        {"signature 'as'", "as"},
        {"<<'boxed'>>", "boxed"},
        {"@as ['a', 'b']", Value::Array{"a", "b"}},
        {"('a', 1)", Value::Array{"a", 1}},
        {"@a{ss} {'key': 'text'}", Value::Dictionary{{"key", "text"}}},
        {"@ay []", Data{}},
        {"(int64 9223372036854775807, uint32 0)", Date::max()},
        {"(int64 -9223372036854775808, uint32 0)", Date::min()},
        {"(int64 1, uint32 4294967295)", dateFromUnixTime(1, 999'999'999)},
    };
    for (const auto& [text, expected] : cases) {
        const VariantHandle variant(g_variant_parse(nullptr, text, nullptr, nullptr, nullptr));
        ASSERT_TRUE(variant) << text;
        const Result<Value> value = valueFromVariant(variant.get());
        ASSERT_TRUE(value) << text;
        EXPECT_EQ(*value, expected) << text << " gave " << describe(*value);
    }
    for (const char* text : {"@mi nothing", "{1: 'a'}", "[<@mi 5>]", "{'a': <{true: 1}>}"}) {
        const VariantHandle variant(g_variant_parse(nullptr, text, nullptr, nullptr, nullptr));
        ASSERT_TRUE(variant) << text;
        EXPECT_FALSE(valueFromVariant(variant.get())) << text;
    }
}

}  // namespace
}  // namespace larkspan::platform
