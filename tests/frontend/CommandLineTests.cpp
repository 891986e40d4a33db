#include "frontend/CommandLine.h"

#include <array>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace larkspan {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr std::array options{Option{"json", nullptr, ""}, Option{"timeout", "SECONDS", ""}};

Arguments::Parsed parse(const std::vector<std::string>& arguments) {
    return Arguments::parse(arguments, options);
}

TEST(CommandLineTest, WordsAndOptionsStandInAnyOrder) {
    const auto parsed = parse({"a", "--timeout", "5", "--json", "-3", "b"});
    EXPECT_EQ(parsed.problem, "");
    EXPECT_THAT(parsed.arguments.words(), ElementsAre("a", "-3", "b"));
    EXPECT_EQ(parsed.arguments.value("timeout"), "5");
    EXPECT_TRUE(parsed.arguments.has("json"));
    EXPECT_EQ(parse({"--timeout=--x"}).arguments.value("timeout"), "--x");
    EXPECT_EQ(parse({"--timeout="}).arguments.value("timeout"), "");
    EXPECT_FALSE(parse({}).arguments.value("timeout"));
}

TEST(CommandLineTest, BehindTwoDashesEverythingIsAWord) {
    const auto parsed = parse({"--", "--json", "-"});
    EXPECT_EQ(parsed.problem, "");
    EXPECT_THAT(parsed.arguments.words(), ElementsAre("--json", "-"));
    EXPECT_THAT(parse({"-", ""}).arguments.words(), ElementsAre("-", ""));
}

TEST(CommandLineTest, WrongUsageIsSaidInASentence) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> table{
        {{"--jsn"}, "There is no option --jsn. Did you mean \"--json\"?"},
        {{"-j"}, "There is no option -j."},
        {{"--json=1"}, "--json takes no value."},
        {{"--timeout"}, "--timeout needs a value: SECONDS."},
    };
    for (const auto& [arguments, problem] : table) {
        EXPECT_THAT(parse(arguments).problem, HasSubstr(problem));
    }
    EXPECT_TRUE(parse({"-h"}).arguments.has("help"));
    EXPECT_THAT(parse({"--help"}).problem, IsEmpty());
}

}  // namespace
}  // namespace larkspan
