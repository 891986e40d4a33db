#pragma once

#include "platform/posix/SharedLibrary.h"

#include <X11/Xauth.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <xcb/xcb.h>

namespace larkspan::platform {

// The libraries that pictures of the screen take, loaded by the first picture. Their functions have
// the names of the libraries without the prefix; none may be called where isComplete() is false.

// NOLINTBEGIN(bugprone-macro-parentheses)
#define LARKSPAN_FUNCTION(prefix, name) \
    decltype(&::prefix##name) name = library.function<decltype(&::prefix##name)>(#prefix #name)
// NOLINTEND(bugprone-macro-parentheses)

struct XcbLibrary {
    SharedLibrary library{"libxcb.so.1"};
    LARKSPAN_FUNCTION(xcb_, connect_to_fd);
    LARKSPAN_FUNCTION(xcb_, connection_has_error);
    LARKSPAN_FUNCTION(xcb_, depth_next);
    LARKSPAN_FUNCTION(xcb_, depth_visuals_iterator);
    LARKSPAN_FUNCTION(xcb_, disconnect);
    LARKSPAN_FUNCTION(xcb_, format_next);
    LARKSPAN_FUNCTION(xcb_, get_image);
    LARKSPAN_FUNCTION(xcb_, get_image_data);
    LARKSPAN_FUNCTION(xcb_, get_image_data_length);
    LARKSPAN_FUNCTION(xcb_, get_image_reply);
    LARKSPAN_FUNCTION(xcb_, get_setup);
    LARKSPAN_FUNCTION(xcb_, parse_display);
    LARKSPAN_FUNCTION(xcb_, query_extension);
    LARKSPAN_FUNCTION(xcb_, query_extension_reply);
    LARKSPAN_FUNCTION(xcb_, screen_allowed_depths_iterator);
    LARKSPAN_FUNCTION(xcb_, screen_next);
    LARKSPAN_FUNCTION(xcb_, setup_pixmap_formats_iterator);
    LARKSPAN_FUNCTION(xcb_, setup_roots_iterator);
    LARKSPAN_FUNCTION(xcb_, visualtype_next);
};

struct XauLibrary {
    SharedLibrary library{"libXau.so.6"};
    LARKSPAN_FUNCTION(Xau, DisposeAuth);
    LARKSPAN_FUNCTION(Xau, GetBestAuthByAddr);
};

struct PixbufLibrary {
    SharedLibrary library{"libgdk_pixbuf-2.0.so.0"};
    LARKSPAN_FUNCTION(gdk_pixbuf_, get_height);
    LARKSPAN_FUNCTION(gdk_pixbuf_, get_width);
    LARKSPAN_FUNCTION(gdk_pixbuf_, loader_close);
    LARKSPAN_FUNCTION(gdk_pixbuf_, loader_get_pixbuf);
    LARKSPAN_FUNCTION(gdk_pixbuf_, loader_new);
    LARKSPAN_FUNCTION(gdk_pixbuf_, loader_write);
    LARKSPAN_FUNCTION(gdk_pixbuf_, new_from_data);
    LARKSPAN_FUNCTION(gdk_pixbuf_, save_to_buffer);
    LARKSPAN_FUNCTION(gdk_pixbuf_, scale_simple);
};

#undef LARKSPAN_FUNCTION

// Each is loaded by its first call, on any thread.
const XcbLibrary& xcb();
const XauLibrary& xau();
const PixbufLibrary& pixbuf();

}  // namespace larkspan::platform
