#include "platform/FinderInfo.h"

#include <cstdint>

namespace larkspan::platform {
namespace {

constexpr size_t finderInfoSize = 32;
constexpr size_t typeCodeSize = 4;

// A big-endian number; the caller has checked that it lies inside.
std::uint32_t numberAt(std::string_view bytes, size_t at, size_t size) {
    std::uint32_t number = 0;
    for (size_t i = at; i < at + size; ++i) {
        number = (number << 8) | static_cast<unsigned char>(bytes[i]);
    }
    return number;
}

}  // namespace

std::string typeCodeOfFinderInfo(std::string_view finderInfo) {
    if (finderInfo.size() < finderInfoSize) return {};
    const std::string_view code = finderInfo.substr(0, typeCodeSize);
    return code == std::string_view("\0\0\0\0", typeCodeSize) ? std::string() : std::string(code);
}

std::string finderInfoWithCodes(std::string_view old, std::string_view type,
                                std::string_view creator) {
    std::string info(old);
    info.resize(finderInfoSize, '\0');
    info.replace(0, typeCodeSize, type);
    info.replace(typeCodeSize, typeCodeSize, creator);
    return info;
}

// The header: magic and version (4 bytes each), 16 bytes of filler, the number of entries (2); then
// the entries: identifier, offset and length (4 each).
std::optional<std::string> finderInfoOfAppleDouble(std::string_view bytes) {
    constexpr std::uint32_t magic = 0x00051607;
    constexpr std::uint32_t finderInfoEntry = 9;
    constexpr size_t headerSize = 26;
    constexpr size_t entrySize = 12;
    if (bytes.size() < headerSize || numberAt(bytes, 0, 4) != magic) return {};
    const size_t count = numberAt(bytes, 24, 2);
    for (size_t i = 0; i < count; ++i) {
        const size_t entry = headerSize + i * entrySize;
        if (entry + entrySize > bytes.size()) return {};
        if (numberAt(bytes, entry, 4) != finderInfoEntry) continue;
        const size_t offset = numberAt(bytes, entry + 4, 4);
        if (offset + finderInfoSize > bytes.size()) return {};
        return std::string(bytes.substr(offset, finderInfoSize));
    }
    return {};
}

std::string typeCodeOfFile(Files& files, const Path& path,
                           const std::optional<std::string>& attribute) {
    // A resource fork of that size was never made.
    constexpr size_t largestAppleDouble = 16UL * 1024 * 1024;
    if (attribute) return typeCodeOfFinderInfo(*attribute);
    const Path beside = path.deletingLastPathComponent() / ("._" + path.lastPathComponent());
    const auto bytes = files.readFile(beside, largestAppleDouble);
    const auto finderInfo = bytes ? finderInfoOfAppleDouble(*bytes) : std::nullopt;
    return finderInfo ? typeCodeOfFinderInfo(*finderInfo) : std::string();
}

}  // namespace larkspan::platform
