#include "platform/linux/X11Screen.h"

#include "platform/linux/ScreenLibraries.h"
#include "platform/posix/FileDescriptor.h"

#include <array>
#include <cstdlib>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace larkspan::platform {
namespace {

struct Release {
    void operator()(void* reply) const { std::free(reply); }
    void operator()(xcb_connection_t* connection) const { xcb().disconnect(connection); }
    void operator()(Xauth* authority) const { xau().DisposeAuth(authority); }
};
template <class T>
using Reply = std::unique_ptr<T, Release>;
using Connection = std::unique_ptr<xcb_connection_t, Release>;
using Authority = std::unique_ptr<Xauth, Release>;

struct Display {
    int number = 0;
    int screen = 0;
};

std::optional<Display> localDisplay(const std::string& name) {
    char* host = nullptr;
    Display display;
    if (!xcb().parse_display(name.c_str(), &host, &display.number, &display.screen)) {
        return std::nullopt;
    }
    const Reply<char> owned(host);
    const std::string text = host;
    if (!text.empty() && text != "unix") return std::nullopt;
    return display;
}

// Tried in the abstract name space first, as X libraries do. Never waits: a server whose queue is
// full does not answer in time either.
FileDescriptor connectTo(const Display& display) {
    const std::string path = "/tmp/.X11-unix/X" + std::to_string(display.number);
    for (const std::string& name : {std::string(1, '\0') + path, path}) {
        FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        name.copy(address.sun_path, sizeof address.sun_path - 1);
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
        const auto* at = reinterpret_cast<const sockaddr*>(&address);
        if (socket && ::connect(socket.get(), at, length) == 0) return socket;
    }
    return {};
}

Authority authorityFor(const Display& display) {
    constexpr unsigned short localFamily = 256;
    static const std::string kind = "MIT-MAGIC-COOKIE-1";
    std::array<char, 256> host{};
    if (::gethostname(host.data(), host.size() - 1) != 0) return nullptr;
    const std::string machine = host.data();
    const std::string number = std::to_string(display.number);
    std::vector<char> kindText(kind.begin(), kind.end());
    char* kinds[] = {kindText.data()};
    const int lengths[] = {static_cast<int>(kind.size())};
    return Authority(xau().GetBestAuthByAddr(
        localFamily, static_cast<unsigned short>(machine.size()), machine.c_str(),
        static_cast<unsigned short>(number.size()), number.c_str(), 1, kinds, lengths));
}

Connection openConnection(FileDescriptor socket, const Display& display) {
    const Authority authority = authorityFor(display);
    xcb_auth_info_t information{};
    if (authority) {
        information = {.namelen = authority->name_length,
                       .name = authority->name,
                       .datalen = authority->data_length,
                       .data = authority->data};
    }
    // Owns the socket from here on, also when it fails.
    return Connection(xcb().connect_to_fd(socket.release(), authority ? &information : nullptr));
}

// Whether the server only shows X programs within a Wayland session. It has a picture of its own,
// but not the user's.
bool isWithinWayland(xcb_connection_t* connection) {
    constexpr std::string_view name = "XWAYLAND";
    const Reply<xcb_query_extension_reply_t> extension(xcb().query_extension_reply(
        connection, xcb().query_extension(connection, name.size(), name.data()), nullptr));
    return !extension || extension->present != 0;
}

const xcb_screen_t* screenOf(const xcb_setup_t* setup, int number) {
    xcb_screen_iterator_t at = xcb().setup_roots_iterator(setup);
    for (; at.rem > 0 && number > 0; --number) xcb().screen_next(&at);
    return at.rem > 0 ? at.data : nullptr;
}

// The colours of the root window; null when its pixels are numbers in a table of colours.
const xcb_visualtype_t* trueColours(const xcb_screen_t* screen) {
    xcb_depth_iterator_t depth = xcb().screen_allowed_depths_iterator(screen);
    for (; depth.rem > 0; xcb().depth_next(&depth)) {
        xcb_visualtype_iterator_t visual = xcb().depth_visuals_iterator(depth.data);
        for (; visual.rem > 0; xcb().visualtype_next(&visual)) {
            if (visual.data->visual_id != screen->root_visual) continue;
            const bool isTrue = visual.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR;
            return isTrue ? visual.data : nullptr;
        }
    }
    return nullptr;
}

std::optional<PixelLayout> layoutOf(const xcb_setup_t* setup, const xcb_screen_t* screen) {
    const xcb_visualtype_t* colours = trueColours(screen);
    if (!colours) return std::nullopt;
    xcb_format_iterator_t format = xcb().setup_pixmap_formats_iterator(setup);
    for (; format.rem > 0; xcb().format_next(&format)) {
        if (format.data->depth != screen->root_depth) continue;
        return PixelLayout{
            .size = {.width = screen->width_in_pixels, .height = screen->height_in_pixels},
            .bitsPerPixel = format.data->bits_per_pixel,
            .rowPadding = format.data->scanline_pad,
            .isBigEndian = setup->image_byte_order == XCB_IMAGE_ORDER_MSB_FIRST,
            .red = colours->red_mask,
            .green = colours->green_mask,
            .blue = colours->blue_mask};
    }
    return std::nullopt;
}

std::optional<RgbPixels> captureScreen(xcb_connection_t* connection, int number) {
    const xcb_setup_t* setup = xcb().get_setup(connection);
    const xcb_screen_t* screen = screenOf(setup, number);
    const auto layout = screen ? layoutOf(setup, screen) : std::nullopt;
    if (!layout || isWithinWayland(connection)) return std::nullopt;
    constexpr std::uint32_t allPlanes = 0xFFFFFFFF;
    const Reply<xcb_get_image_reply_t> image(xcb().get_image_reply(
        connection,
        xcb().get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, 0, 0,
                        screen->width_in_pixels, screen->height_in_pixels, allPlanes),
        nullptr));
    if (!image) return std::nullopt;
    const auto* data = reinterpret_cast<const char*>(xcb().get_image_data(image.get()));
    const int length = xcb().get_image_data_length(image.get());
    return rgbPixels({data, static_cast<size_t>(length)}, *layout);
}

}  // namespace

std::optional<RgbPixels> captureX11(const std::string& display, Alarm::Moment deadline) {
    if (display.empty()) return std::nullopt;
    if (!xcb().library.isComplete() || !xau().library.isComplete()) return std::nullopt;
    const auto place = localDisplay(display);
    if (!place) return std::nullopt;
    FileDescriptor socket = connectTo(*place);
    if (!socket) return std::nullopt;
    // A server that hangs ends nothing by itself; its own end of the line does.
    const FileDescriptor line(::fcntl(socket.get(), F_DUPFD_CLOEXEC, 0));
    if (!line) return std::nullopt;
    const Alarm alarm(deadline, [&line] { ::shutdown(line.get(), SHUT_RDWR); });
    const Connection connection = openConnection(std::move(socket), *place);
    if (xcb().connection_has_error(connection.get()) != 0) return std::nullopt;
    return captureScreen(connection.get(), place->screen);
}

}  // namespace larkspan::platform
