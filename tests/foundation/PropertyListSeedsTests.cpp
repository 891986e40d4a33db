#include "foundation/PropertyList.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

namespace larkspan {
namespace {

namespace fs = std::filesystem;

std::string content(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// What can be read must be written so that it reads back, and is then written the same.
bool isReadOrRefused(const std::string& bytes) {
    const auto value = parsePropertyList(bytes);
    if (!value) return value.error().domain == propertyListErrorDomain;
    const std::string written = serializePropertyList(*value);
    const auto again = parsePropertyList(written);
    return again && serializePropertyList(*again) == written;
}

TEST(PropertyListSeeds, AreReadOrRefusedWholeAndTorn) {
    size_t seeds = 0;
    for (const auto& entry :
         fs::directory_iterator(LARKSPAN_SOURCE_DIR "/fuzz/seeds/property-list")) {
        const std::string bytes = content(entry.path());
        const bool isBroken = entry.path().filename().string().starts_with("broken");
        EXPECT_NE(static_cast<bool>(parsePropertyList(bytes)), isBroken) << entry.path();
        for (size_t length = 0; length <= bytes.size(); ++length) {
            EXPECT_TRUE(isReadOrRefused(bytes.substr(0, length))) << entry.path() << " " << length;
            EXPECT_TRUE(isReadOrRefused(bytes.substr(length))) << entry.path() << " " << length;
        }
        ++seeds;
    }
    EXPECT_GE(seeds, 7U);
}

}  // namespace
}  // namespace larkspan
