#pragma once

#include "platform/Screen.h"

#include <optional>
#include <string>
#include <string_view>

namespace larkspan::platform {

// An image of three bytes a pixel (red, green, blue), row by row from the top, without gaps.
struct RgbPixels {
    PictureSize size = {};
    std::string bytes = {};
};

// The image as a JPEG file; empty when that fails, or the bytes do not fit the size.
std::optional<std::string> jpegOf(const RgbPixels& pixels, const PictureForm& form);

// The same from an image file (PNG or JPEG); empty for what is none.
std::optional<std::string> jpegOfImage(std::string_view file, const PictureForm& form);

}  // namespace larkspan::platform
