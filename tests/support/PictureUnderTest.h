#pragma once

#include "platform/Screen.h"
#include "platform/linux/GObjectHandle.h"

#include <cstdlib>
#include <string>
#include <string_view>

#include <gdk-pixbuf/gdk-pixbuf.h>

namespace larkspan::testing {

// A picture file opened for looking at single pixels.
class PictureUnderTest {
  public:
    explicit PictureUnderTest(std::string_view file) : loader_(gdk_pixbuf_loader_new()) {
        gdk_pixbuf_loader_write(loader_.get(), reinterpret_cast<const guchar*>(file.data()),
                                file.size(), nullptr);
        gdk_pixbuf_loader_close(loader_.get(), nullptr);
    }

    std::string format() const {
        GdkPixbufFormat* format = gdk_pixbuf_loader_get_format(loader_.get());
        return format ? platform::TextHandle(gdk_pixbuf_format_get_name(format)).get() : "";
    }
    platform::PictureSize size() const {
        GdkPixbuf* picture = gdk_pixbuf_loader_get_pixbuf(loader_.get());
        if (!picture) return {};
        return {.width = gdk_pixbuf_get_width(picture), .height = gdk_pixbuf_get_height(picture)};
    }
    // Whether the pixel has that colour, as near as a JPEG keeps it.
    bool shows(int x, int y, unsigned colour) const {
        GdkPixbuf* picture = gdk_pixbuf_loader_get_pixbuf(loader_.get());
        const guchar* pixel = gdk_pixbuf_read_pixels(picture) +
                              y * gdk_pixbuf_get_rowstride(picture) +
                              x * gdk_pixbuf_get_n_channels(picture);
        const auto isNear = [](int is, unsigned wanted) {
            constexpr int allowed = 12;
            return std::abs(is - int(wanted & 0xFFU)) <= allowed;
        };
        return isNear(pixel[0], colour >> 16) && isNear(pixel[1], colour >> 8) &&
               isNear(pixel[2], colour);
    }

  private:
    platform::GObjectHandle<GdkPixbufLoader> loader_;
};

}  // namespace larkspan::testing
