#include "platform/linux/Picture.h"

#include "platform/linux/GObjectHandle.h"
#include "platform/linux/ScreenLibraries.h"

#include <algorithm>
#include <cmath>

namespace larkspan::platform {
namespace {

using PixbufHandle = GObjectHandle<GdkPixbuf>;

std::optional<std::string> encoded(GdkPixbuf* picture, double compressionFactor) {
    const auto quality = std::to_string(std::lround(std::clamp(compressionFactor, 0.0, 1.0) * 100));
    char* buffer = nullptr;
    gsize size = 0;
    const bool done = pixbuf().save_to_buffer(picture, &buffer, &size, "jpeg", nullptr, "quality",
                                              quality.c_str(), nullptr) != 0;
    const TextHandle owned(buffer);
    if (!done) return std::nullopt;
    return std::string(buffer, size);
}

std::optional<std::string> jpegOfPixbuf(GdkPixbuf* picture, const PictureForm& form) {
    const PictureSize size{.width = pixbuf().get_width(picture),
                           .height = pixbuf().get_height(picture)};
    const PictureSize wanted = storedSize(size, form.largestWidth);
    if (wanted == size) return encoded(picture, form.compressionFactor);
    // Takes the mean of what falls on a pixel when it scales down.
    const PixbufHandle scaled(
        pixbuf().scale_simple(picture, wanted.width, wanted.height, GDK_INTERP_BILINEAR));
    return scaled ? encoded(scaled.get(), form.compressionFactor) : std::nullopt;
}

}  // namespace

std::optional<std::string> jpegOf(const RgbPixels& pixels, const PictureForm& form) {
    constexpr int bytesPerPixel = 3;
    const auto [width, height] = pixels.size;
    if (width <= 0 || height <= 0) return std::nullopt;
    const size_t needed = static_cast<size_t>(width) * static_cast<size_t>(height) * bytesPerPixel;
    if (pixels.bytes.size() != needed || !pixbuf().library.isComplete()) return std::nullopt;
    const auto* data = reinterpret_cast<const guchar*>(pixels.bytes.data());
    const PixbufHandle picture(pixbuf().new_from_data(data, GDK_COLORSPACE_RGB, FALSE, 8, width,
                                                      height, width * bytesPerPixel, nullptr,
                                                      nullptr));
    return picture ? jpegOfPixbuf(picture.get(), form) : std::nullopt;
}

std::optional<std::string> jpegOfImage(std::string_view file, const PictureForm& form) {
    if (!pixbuf().library.isComplete()) return std::nullopt;
    const GObjectHandle<GdkPixbufLoader> loader(pixbuf().loader_new());
    const auto* bytes = reinterpret_cast<const guchar*>(file.data());
    const bool taken = pixbuf().loader_write(loader.get(), bytes, file.size(), nullptr) != 0;
    // Also after a failure: a loader wants to be closed.
    const bool closed = pixbuf().loader_close(loader.get(), nullptr) != 0;
    if (!taken || !closed) return std::nullopt;
    GdkPixbuf* picture = pixbuf().loader_get_pixbuf(loader.get());
    return picture ? jpegOfPixbuf(picture, form) : std::nullopt;
}

}  // namespace larkspan::platform
