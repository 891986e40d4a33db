#include "backup/VersionName.h"

#include <gtest/gtest.h>

namespace larkspan {
namespace {

TEST(VersionName, PadsNumbersToFiveDigits) {
    const std::pair<long, const char*> cases[] = {
        {0, "00000"},    {9, "00009"},     {10, "00010"},      {99, "00099"}, {999, "00999"},
        {9999, "09999"}, {10000, "10000"}, {123456, "123456"}, {-3, "0000-3"}};
    for (const auto& [number, text] : cases) EXPECT_EQ(padNumber({number}), text);
}

TEST(VersionName, TakesTwoSuffixesOffTheProjectsName) {
    struct Case {
        const char* project;
        const char* copy;
        const char* rendition;
    };
    const Case cases[] = {
        {"/W/Cut.fcp", "Cut.00007.fcp", "Cut.00007.xml"},
        {"/W/Edit 1.2.fcp", "Edit 1.00007.fcp", "Edit 1.00007.xml"},
        {"/W/A.b.fcp", "A.00007.fcp", "A.00007.xml"},
        {"/W/Film.fcpbundle", "Film.00007.fcpbundle", "Film.00007.xml"},
        {"/W/noextension", "noextension.00007", "noextension.00007.xml"},
        {"/W/a.b.c.prproj", "a.b.00007.prproj", "a.b.00007.xml"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(versionCopyName(Path(c.project), {7}), c.copy);
        EXPECT_EQ(versionRenditionName(Path(c.project), {7}), c.rendition);
    }
}

TEST(VersionName, ReadsTheNumberBack) {
    const std::pair<const char*, long> cases[] = {
        {"Cut.00012.fcp", 12},
        {"Cut.00012.xml", 12},
        {"Cut.123456.fcp", 123456},
        {"notes.txt", 0},
        {"Cut", 0},
        {"Cut.99999999999999999999.fcp", std::numeric_limits<long>::max()}};
    for (const auto& [name, number] : cases) EXPECT_EQ(numberOfVersion(name).value, number) << name;
}

TEST(VersionName, FindsTheNewestName) {
    using Names = std::vector<std::string>;
    const std::pair<Names, std::optional<std::string>> cases[] = {
        {{}, std::nullopt},
        {{".larkspan-copy-1", ".DS_Store"}, std::nullopt},
        {{"Cut.00001.fcp", "Cut.00002.fcp", "Cut.00002.xml"}, "Cut.00002.xml"},
        {{"Cut.100000.fcp", "Cut.99999.fcp"}, "Cut.100000.fcp"},
        {{"Cut.00003.fcp", "zebra.txt"}, "Cut.00003.fcp"},
        {{"alpha.txt", "zebra.txt"}, "zebra.txt"},
    };
    for (const auto& [names, newest] : cases) EXPECT_EQ(newestVersionName(names), newest);
}

}  // namespace
}  // namespace larkspan
