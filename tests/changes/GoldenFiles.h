#pragma once

#include "changes/Gzip.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace larkspan::testing {

// A file of the documents whose change lists were read by hand.
inline std::filesystem::path golden(const std::string& name) {
    return std::filesystem::path(LARKSPAN_SOURCE_DIR) / "tests/changes/golden" / name;
}

// What a file holds, unpacked.
inline std::string content(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!isGzip(bytes)) return bytes;
    constexpr size_t plenty = 100'000'000;
    const auto unpacked = gunzipped(bytes, plenty);
    return unpacked ? *unpacked : unpacked.error().description;
}

}  // namespace larkspan::testing
