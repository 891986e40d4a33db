#include "architecture/IncludeRules.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace larkspan::testing {
namespace {

namespace fs = std::filesystem;

TEST(IncludeRules, TellWhatTheyForbid) {
    struct Case {
        const char* file;
        const char* include;
        const char* rule;  // how it begins; "" when nothing is broken
    };
    const std::vector<Case> cases = {
        {"src/foundation/Text.cpp", "\"foundation/Text.h\"", ""},
        {"src/foundation/Text.cpp", "\"platform/Files.h\"", "foundation may include nothing"},
        {"src/foundation/PropertyList.cpp", "<plist/plist.h>", ""},
        {"src/kit/Preferences.cpp", "<plist/plist.h>", "<plist/plist.h> may be included only in"},
        {"src/platform/Bundles.cpp", "\"platform/posix/PosixFiles.h\"",
         "platform may include only"},
        {"src/platform/posix/A.cpp", "\"platform/Files.h\"", ""},
        {"src/platform/posix/A.cpp", "\"platform/linux/A.h\"", "only main.cpp files"},
        {"src/platform/fake/A.cpp", "\"platform/posix/A.h\"", "platform/fake may include only"},
        {"src/platform/linux/A.cpp", "<glib.h>", ""},
        {"src/platform/linux/A.cpp", "<gio/gunixfdlist.h>", ""},
        {"src/platform/posix/A.cpp", "<glib-unix.h>", "<glib-unix.h> may be included only in"},
        {"src/platform/posix/A.cpp", "<filesystem>", ""},
        {"src/backup/A.cpp", "<filesystem>", "<filesystem> may be included only in"},
        {"src/kit/A.cpp", "\"platform/fake/FakeClock.h\"", "kit may include only"},
        {"src/kit/A.cpp", "\"backup/StoreLayout.h\"", "kit may include only"},
        {"src/sync/A.cpp", "\"changes/A.h\"", "sync may include only"},
        {"src/host/A.cpp", "\"sync/A.h\"", "host may include only"},
        {"src/backup/A.cpp", "\"changes/A.h\"", ""},
        {"src/app/A.cpp", "\"frontend/A.h\"", "app may include only"},
        {"src/frontend/commands/A.cpp", "\"app/A.h\"", "frontend may include only"},
        {"src/frontend/commands/A.cpp", "\"platform/linux/A.h\"", "only main.cpp files"},
        {"src/frontend/main.cpp", "\"platform/linux/A.h\"", ""},
        {"src/app/main.cpp", "\"frontend/A.h\"", "app may include only"},
        {"src/kit/A.cpp", "\"A.h\"", "our own headers are included by their path"},
        {"src/new/A.cpp", "\"kit/A.h\"", "every folder of src/ needs"},
        {"tests/kit/A.cpp", "\"platform/linux/A.h\"", ""},
        {"src/kit/A.cpp", "<vector>", ""},
    };
    for (const Case& one : cases) {
        const std::string rule = brokenIncludeRule(one.file, one.include);
        const std::string expected = one.rule;
        EXPECT_TRUE(expected.empty() ? rule.empty() : rule.starts_with(expected))
            << one.file << " " << one.include << ": " << rule;
    }
}

TEST(IncludeRules, FindIncludeDirectives) {
    EXPECT_EQ(includedBy("#include \"kit/ZBLog.h\"  // why"), "\"kit/ZBLog.h\"");
    EXPECT_EQ(includedBy(" #  include <glib.h>"), "<glib.h>");
    EXPECT_EQ(includedBy("// #include <glib.h>"), "");
    EXPECT_EQ(includedBy("#include"), "");
    EXPECT_EQ(includedBy("#include <open"), "");
    EXPECT_EQ(includedBy(""), "");
}

TEST(IncludeDirections, AreKeptByEverySource) {
    const fs::path root(LARKSPAN_SOURCE_DIR);
    size_t files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root / "src")) {
        const auto extension = entry.path().extension();
        if (extension != ".h" && extension != ".cpp") continue;
        ++files;
        const std::string file = entry.path().lexically_relative(root).generic_string();
        std::ifstream in(entry.path());
        int number = 0;
        for (std::string line; std::getline(in, line);) {
            ++number;
            const std::string_view include = includedBy(line);
            const std::string rule = brokenIncludeRule(file, include);
            EXPECT_EQ(rule, "") << file << ":" << number << " includes " << include;
        }
    }
    EXPECT_GT(files, 50U);
}

}  // namespace
}  // namespace larkspan::testing
