#pragma once

#include "platform/linux/Alarm.h"
#include "platform/linux/Picture.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace larkspan::platform {

// The picture of an X display of this machine (":0", ":0.1", "unix:0"). Empty for a display on
// another machine, one that cannot be reached, one that only serves X programs within a Wayland
// session (it would give a black picture), and at the deadline.
std::optional<RgbPixels> captureX11(const std::string& display, Alarm::Moment deadline);

// How the pixels of an image lie in its bytes.
struct PixelLayout {
    PictureSize size = {};
    unsigned bitsPerPixel = 32;  // 16, 24 or 32
    unsigned rowPadding = 32;    // rows take a multiple of that many bits
    bool isBigEndian = false;
    std::uint32_t red = 0xFF0000;  // masks in the pixel's number, without gaps
    std::uint32_t green = 0x00FF00;
    std::uint32_t blue = 0x0000FF;
};

// Empty when the layout is none of the kinds above or the bytes are too few for it.
std::optional<RgbPixels> rgbPixels(std::string_view bytes, const PixelLayout& layout);

}  // namespace larkspan::platform
