#include "frontend/Format.h"
#include "frontend/Json.h"
#include "frontend/KnownPreferences.h"
#include "frontend/Suggestions.h"

#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(JsonTest, WritesEveryKindOfValue) {
    const std::vector<std::pair<Value, std::string>> table{
        {Value(true), "true"},
        {Value(-7), "-7"},
        {Value(std::numeric_limits<long>::min()), "-9223372036854775808"},
        {Value(0.1), "0.1"},
        {Value(std::numeric_limits<double>::infinity()), "null"},
        {Value(dateFromUnixTime(0, 5)), R"("1970-01-01T00:00:00Z")"},
        {Value(dateFromUnixTime(-1)), R"("1969-12-31T23:59:59Z")"},
        {Value(Data{std::string("\x00\xff", 2)}), R"("00ff")"},
        {Value(Value::Array()), "[]"},
        {Value(), "{}"},
        {Value(Value::Dictionary{{"b", Value::Array{1, "x"}}, {"a", false}}),
         R"({"a": false, "b": [1, "x"]})"},
        {Value("quote \" back\\ line\n tab\t bell\a end"),
         R"("quote \" back\\ line\n tab\t bell\u0007 end")"},
        {Value("caf\xc3\xa9 \xff"), "\"caf\xc3\xa9 \xef\xbf\xbd\""},
    };
    for (const auto& [value, expected] : table) {
        EXPECT_EQ(json(value, JsonLayout::oneLine), expected);
    }
    EXPECT_EQ(json(Value(Value::Dictionary{{"a", Value::Array{1, 2}}})),
              "{\n  \"a\": [\n    1,\n    2\n  ]\n}");
}

TEST(FormatTest, TextsFromFilesCannotSteerATerminal) {
    EXPECT_EQ(printable("two\nlines \x1b[2J \x7f"), "two lines ?[2J ?");
    EXPECT_EQ(printable("a\r\n\tb"), "a b");
    EXPECT_EQ(printable("\xc2\x9b"
                        "2J caf\xc3\xa9"),
              "?2J caf\xc3\xa9");
    EXPECT_EQ(printable("bad \xff"), "bad \xef\xbf\xbd");
    Table table({{"A", Table::Align::right}, {"B"}});
    table.addRow({"10", "x\ny"});
    EXPECT_THAT(table.lines(), ElementsAre(" A  B", "10  x y"));
}

TEST(FormatTest, SizesHaveThreeFiguresAndTheNextUnitWhenRounded) {
    const std::vector<std::pair<std::uint64_t, std::string>> table{
        {0, "0 B"},
        {999, "999 B"},
        {1000, "1.0 kB"},
        {99'949, "99.9 kB"},
        {99'950, "100 kB"},
        {999'499, "999 kB"},
        {999'500, "1.0 MB"},
        {1'234'567, "1.2 MB"},
        {41'943'040, "41.9 MB"},
        {5'000'000'000, "5.0 GB"},
        {std::numeric_limits<std::uint64_t>::max(), "18.4 EB"},
    };
    for (const auto& [bytes, expected] : table) EXPECT_EQ(sizeText(bytes), expected);
}

TEST(FormatTest, ShellWordsReadAsTheyAre) {
    EXPECT_EQ(shellQuoted("/Movies/Edit-1.fcp"), "/Movies/Edit-1.fcp");
    EXPECT_EQ(shellQuoted("/My Films"), "'/My Films'");
    EXPECT_EQ(shellQuoted("it's"), R"('it'\''s')");
    EXPECT_EQ(shellQuoted(""), "''");
    EXPECT_EQ(alternatives({"a", "b", "c"}), "a, b or c");
}

TEST(SuggestionsTest, TheNearestIsWhatWasMeant) {
    const std::vector<std::string> names{"watch", "scan", "status", "projects", "versions"};
    const std::vector<std::pair<std::string, std::string>> table{
        {"statsu", "status"},
        {"STATUS", "status"},
        {"proj", "projects"},
        {"version", "versions"},
        {"wacth", "watch"},
        {"backup", ""},
        {"x", ""},
        {"", ""},
    };
    for (const auto& [typed, expected] : table) EXPECT_EQ(nearest(names, typed), expected) << typed;
    EXPECT_EQ(editDistance("ab", "ba"), 1U);
    EXPECT_EQ(editDistance("", "abc"), 3U);
}

TEST(KnownPreferencesTest, ValuesAreTypedByTheirLook) {
    const std::vector<std::pair<std::string, Value>> table{
        {"12", 12},       {"-3", -3},     {"true", true},
        {"false", false}, {"1.5", "1.5"}, {"99999999999999999999", "99999999999999999999"},
        {"", ""},         {"12 ", "12 "}, {"TRUE", "TRUE"},
    };
    for (const auto& [text, expected] : table) EXPECT_EQ(typedValue(text), expected) << text;
}

TEST(KnownPreferencesTest, ValuesThatDoNotFitAreRefused) {
    const std::vector<std::tuple<std::string, Value, bool>> table{
        {"manageBackups", 1, true},          {"manageBackups", true, true},
        {"manageBackups", 2, false},         {"manageBackups", "1", false},
        {"backupMinInterval", 30, true},     {"backupMinInterval", "soon", false},
        {"storagePath", "/Store", true},     {"storagePath", "Store", false},
        {"storagePath", "~/Store", false},   {"watchFolders", "/x", false},
        {"lastRestoreDate", "today", false}, {"lastRestoredProject", "/x", true},
    };
    for (const auto& [key, value, fits] : table) {
        const KnownPreference* known = knownPreference(key);
        ASSERT_TRUE(known) << key;
        EXPECT_EQ(misfit(*known, value).empty(), fits) << key << " " << describe(value);
    }
    EXPECT_THAT(didYouMeanPreference("storagepaht"), HasSubstr("\"storagePath\""));
}

}  // namespace
}  // namespace larkspan
