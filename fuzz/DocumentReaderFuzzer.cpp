#include "changes/LibraryReader.h"
#include "changes/NodeTableText.h"
#include "changes/PlainReader.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

namespace {

using larkspan::NodeTable;
using larkspan::TextWindow;

constexpr size_t deepest = 20;

std::optional<std::string> read(TextWindow window) {
    NodeTable table;
    if (!larkspan::readPlain(window, deepest, table)) return std::nullopt;
    return larkspan::testing::textOf(table);
}

std::optional<std::string> readInPieces(std::string_view text, size_t firstSize) {
    const auto pieces = [text](std::span<char> buffer) mutable -> std::optional<size_t> {
        const size_t count = std::min(buffer.size(), text.size());
        std::copy_n(text.begin(), count, buffer.begin());
        text.remove_prefix(count);
        return count;
    };
    return read(TextWindow(pieces, text.size(), firstSize));
}

}  // namespace

// What is read without the XML library, at once or in pieces, is what the library makes of it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    NodeTable table;
    const bool isDocument = !larkspan::readWithLibrary(text, deepest, table);
    const std::string expected = isDocument ? larkspan::testing::textOf(table) : "";
    const auto check = [&](const std::optional<std::string>& found) {
        if (found && (!isDocument || *found != expected)) std::abort();
    };
    check(read(TextWindow(text)));
    for (const size_t firstSize : {16U, 19U, 64U}) check(readInPieces(text, firstSize));
    return 0;
}
