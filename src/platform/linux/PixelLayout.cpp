#include "platform/linux/X11Screen.h"

#include <bit>

namespace larkspan::platform {
namespace {

// One colour of a pixel's number, stretched to 0 to 255.
class Channel {
  public:
    explicit Channel(std::uint32_t mask)
        : mask_(mask), shift_(std::countr_zero(mask)), largest_(mask >> shift_) {}

    char of(std::uint32_t pixel) const {
        constexpr std::uint32_t full = 255;
        const std::uint32_t value = (pixel & mask_) >> shift_;
        return static_cast<char>(largest_ == full ? value : value * full / largest_);
    }

  private:
    std::uint32_t mask_;
    int shift_;
    std::uint32_t largest_;
};

std::uint32_t pixelAt(const unsigned char* bytes, unsigned count, bool isBigEndian) {
    std::uint32_t pixel = 0;
    for (unsigned i = 0; i < count; ++i) {
        const unsigned shift = 8 * (isBigEndian ? count - 1 - i : i);
        pixel |= std::uint32_t{bytes[i]} << shift;
    }
    return pixel;
}

// Channels of up to 16 bits can be stretched without overflow.
bool isUsable(std::uint32_t mask) {
    constexpr int mostBits = 16;
    return mask != 0 && std::popcount(mask) <= mostBits;
}

bool isKnown(const PixelLayout& layout) {
    const bool hasSize = layout.size.width > 0 && layout.size.height > 0;
    const bool hasPixels =
        layout.bitsPerPixel == 16 || layout.bitsPerPixel == 24 || layout.bitsPerPixel == 32;
    return hasSize && hasPixels && layout.rowPadding >= 8 && isUsable(layout.red) &&
           isUsable(layout.green) && isUsable(layout.blue);
}

}  // namespace

std::optional<RgbPixels> rgbPixels(std::string_view bytes, const PixelLayout& layout) {
    if (!isKnown(layout)) return std::nullopt;
    const auto width = static_cast<size_t>(layout.size.width);
    const auto height = static_cast<size_t>(layout.size.height);
    const size_t padding = layout.rowPadding;
    const size_t row = (width * layout.bitsPerPixel + padding - 1) / padding * padding / 8;
    if (bytes.size() < row * height) return std::nullopt;

    const unsigned step = layout.bitsPerPixel / 8;
    const Channel red(layout.red);
    const Channel green(layout.green);
    const Channel blue(layout.blue);
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    RgbPixels pixels{.size = layout.size};
    pixels.bytes.resize(width * height * 3);
    char* out = pixels.bytes.data();
    for (size_t y = 0; y < height; ++y) {
        const unsigned char* in = data + y * row;
        for (size_t x = 0; x < width; ++x, in += step) {
            const std::uint32_t pixel = pixelAt(in, step, layout.isBigEndian);
            *out++ = red.of(pixel);
            *out++ = green.of(pixel);
            *out++ = blue.of(pixel);
        }
    }
    return pixels;
}

}  // namespace larkspan::platform
