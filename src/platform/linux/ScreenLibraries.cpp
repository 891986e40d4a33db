#include "platform/linux/ScreenLibraries.h"

namespace larkspan::platform {

const XcbLibrary& xcb() {
    static const XcbLibrary library;
    return library;
}

const XauLibrary& xau() {
    static const XauLibrary library;
    return library;
}

const PixbufLibrary& pixbuf() {
    static const PixbufLibrary library;
    return library;
}

}  // namespace larkspan::platform
