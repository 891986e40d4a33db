#include "foundation/PropertyList.h"

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace larkspan {
namespace {

using namespace std::string_literals;

std::string bigEndian(std::uint64_t value, int size) {
    std::string out;
    for (int i = size - 1; i >= 0; --i) out += static_cast<char>((value >> (8 * i)) & 0xFF);
    return out;
}

struct Trailer {
    int offsetSize = 2;
    int referenceSize = 1;
    std::uint64_t root = 0;
};

// A binary property list of objects given as their bytes; references are one byte.
std::string binary(const std::vector<std::string>& objects, Trailer trailer = {}) {
    std::string out = "bplist00";
    std::string table;
    for (const std::string& object : objects) {
        table += bigEndian(out.size(), trailer.offsetSize);
        out += object;
    }
    const size_t tableOffset = out.size();
    return out + table + std::string(6, '\0') +
           bigEndian(static_cast<std::uint64_t>(trailer.offsetSize), 1) +
           bigEndian(static_cast<std::uint64_t>(trailer.referenceSize), 1) +
           bigEndian(objects.size(), 8) + bigEndian(trailer.root, 8) + bigEndian(tableOffset, 8);
}

bool isRefused(const std::string& bytes) {
    const auto value = parsePropertyList(bytes);
    return !value && value.error().domain == propertyListErrorDomain &&
           value.error().description.ends_with(".");
}

TEST(BinaryPropertyList, ReadsEveryKindOfValue) {
    constexpr auto largest = std::numeric_limits<std::int64_t>::max();
    const std::vector<std::pair<std::string, Value>> cases = {
        {"\x08"s, false},
        {"\x09"s, true},
        {"\x10\xFF"s, 255},
        {"\x13"s + bigEndian(static_cast<std::uint64_t>(-5), 8), -5},
        {"\x14"s + bigEndian(0, 8) + bigEndian(~std::uint64_t{0}, 8), largest},
        {"\x22\x40\x20\x00\x00"s, 2.5},
        {"\x23\x3F\xF8\x00\x00\x00\x00\x00\x00"s, 1.5},
        {"\x33"s + std::string(8, '\0'), dateFromUnixTime(978'307'200)},
        {"\x43"s + "a\0b"s, Data{"a\0b"s}},
        {"\x52hi"s, "hi"},
        {"\x5F\x10\x10"s + "0123456789abcdef", "0123456789abcdef"},
        {"\x62\x20\xAC\x00\x41"s,
         "\u20AC"
         "A"},
        {"\x80\x07"s, 7},
        {"\xA0"s, Value::Array{}},
        {"\xD0"s, Value::Dictionary{}},
    };
    for (const auto& [object, expected] : cases) {
        const auto value = parsePropertyList(binary({object}));
        ASSERT_TRUE(value) << describe(expected) << ": " << value.error().description;
        EXPECT_EQ(*value, expected);
    }
    const auto nested =
        parsePropertyList(binary({"\xD1\x01\x02"s, "\x51k"s, "\xA2\x01\x03"s, "\x09"s}));
    ASSERT_TRUE(nested);
    EXPECT_EQ(*nested, Value(Value::Dictionary{{"k", Value::Array{"k", true}}}));
}

TEST(BinaryPropertyList, RefusesDamage) {
    const std::vector<std::pair<const char*, std::string>> cases = {
        {"header only", "bplist00"},
        {"no objects", binary({})},
        {"root outside", binary({"\x09"s}, {.root = 1})},
        {"reference outside", binary({"\xA1\x05"s})},
        {"no reference size", binary({"\x09"s}, {.referenceSize = 0})},
        {"member list past the end", binary({"\xAE\x00"s})},
        {"absurd count", binary({"\xAF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s})},
        {"count that wraps round", binary({"\xDF\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s})},
        {"count of no integer", binary({"\x5F\x51\x10"s})},
        {"text past the end", binary({"\x5E"
                                      "a"s})},
        {"UTF-16 past the end", binary({"\x62\x00\x41"s})},
        {"zero in a UTF-16 key", binary({"\xD1\x01\x02"s, "\x62\x00\x41\x00\x00"s, "\x09"s})},
        {"key that is no text", binary({"\xD1\x01\x01"s, "\x09"s})},
        {"real of odd size", binary({"\x21\x00\x00"s})},
        {"null", binary({"\x00"s})},
        {"unknown kind", binary({"\x70"s})},
        {"array in itself", binary({"\xA1\x00"s})},
        {"cycle of two", binary({"\xA1\x01"s, "\xA1\x00"s})},
        {"rubbish behind", binary({"\x09"s}) + "rubbish"},
    };
    for (const auto& [what, bytes] : cases) EXPECT_TRUE(isRefused(bytes)) << what;
    const std::string whole = binary({"\xD1\x01\x02"s, "\x51k"s, "\xA2\x01\x03"s, "\x09"s});
    for (size_t length = 0; length < whole.size(); ++length) {
        EXPECT_TRUE(isRefused(whole.substr(0, length))) << length;
    }
}

TEST(BinaryPropertyList, EveryChangedByteGivesAValueOrAnError) {
    const std::string whole = binary({"\xD2\x01\x02\x03\x04"s, "\x51k"s, "\x51l"s, "\xA2\x01\x04"s,
                                      "\x33"s + std::string(8, '\x41')});
    for (size_t at = 0; at < whole.size(); ++at) {
        for (int byte = 0; byte < 256; ++byte) {
            std::string changed = whole;
            changed[at] = static_cast<char>(byte);
            const auto value = parsePropertyList(changed);
            EXPECT_TRUE(value || value.error().domain == propertyListErrorDomain) << at;
        }
    }
}

TEST(BinaryPropertyList, SharedReferencesAreBounded) {
    // Arrays that each refer to the next one ten times: ten to the power of their number values.
    std::vector<std::string> arrays;
    for (int i = 1; i <= 20; ++i) arrays.push_back("\xAA"s + std::string(10, static_cast<char>(i)));
    arrays.push_back("\x09"s);
    EXPECT_TRUE(isRefused(binary(arrays)));

    // Few values, but one large text in many places.
    const size_t places = 300;
    const size_t length = 1'000'000;
    const std::string references = "\xAF\x11"s + bigEndian(places, 2) + std::string(places, '\x01');
    const std::string text = "\x5F\x12"s + bigEndian(length, 4) + std::string(length, 'x');
    EXPECT_TRUE(isRefused(binary({references, text}, {.offsetSize = 4})));
}

TEST(BinaryPropertyList, NestingIsBounded) {
    for (const int levels : {deepestPropertyList, deepestPropertyList + 1, 60'000}) {
        std::vector<std::string> arrays;
        for (int i = 1; i < levels; ++i) {
            arrays.push_back("\xA1"s + bigEndian(static_cast<std::uint64_t>(i), 2));
        }
        arrays.push_back("\xA0"s);
        const auto value = parsePropertyList(binary(arrays, {.offsetSize = 4, .referenceSize = 2}));
        EXPECT_EQ(static_cast<bool>(value), levels == deepestPropertyList) << levels;
    }
}

}  // namespace
}  // namespace larkspan
