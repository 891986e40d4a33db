#include "support/XServer.h"

#include "platform/posix/FileDescriptor.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace larkspan::testing {
namespace {

void putCounted(std::ofstream& file, const std::string& text) {
    file.put(static_cast<char>(text.size() >> 8)).put(static_cast<char>(text.size() & 0xFF));
    file << text;
}

// One entry for every display of every machine.
void writeAuthority(const std::string& path, const std::string& cookie) {
    std::ofstream file(path);
    file << "\xFF\xFF";
    for (const std::string& text :
         {std::string(), std::string(), std::string("MIT-MAGIC-COOKIE-1"), cookie}) {
        putCounted(file, text);
    }
}

}  // namespace

std::unique_ptr<XServer> XServer::start(const std::string& screen, const std::string& cookie) {
    std::unique_ptr<XServer> server(new XServer);
    std::vector<std::string> arguments = {"Xvfb",     "-screen",   "0",  screen,
                                          "-noreset", "-nolisten", "tcp"};
    if (!cookie.empty()) {
        writeAuthority(server->authority(), cookie);
        arguments.insert(arguments.end(), {"-auth", server->authority()});
    }
    server->run(std::move(arguments));
    return server->number_.empty() ? nullptr : std::move(server);
}

void XServer::run(std::vector<std::string> arguments) {
    int ends[2];
    if (::pipe(ends) != 0) throw std::runtime_error("no pipe");
    const platform::FileDescriptor told(ends[0]);
    platform::FileDescriptor telling(ends[1]);
    arguments.insert(arguments.end(), {"-displayfd", std::to_string(telling.get())});
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    process_ = ::fork();
    if (process_ == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (!std::freopen("/dev/null", "w", stderr)) ::_exit(127);
        ::execvp("Xvfb", pointers.data());
        ::_exit(127);
    }
    telling.reset();
    char character = 0;
    while (::read(told.get(), &character, 1) == 1 && character != '\n') number_ += character;
}

XServer::~XServer() {
    if (process_ <= 0) return;
    // Asked first, so that it removes its socket.
    ::kill(process_, SIGCONT);
    ::kill(process_, SIGTERM);
    ::waitpid(process_, nullptr, 0);
}

void XServer::paint(std::uint32_t left, std::uint32_t right) const {
    xcb_connection_t* connection = xcb_connect(display().c_str(), nullptr);
    if (xcb_connection_has_error(connection) != 0) throw std::runtime_error("no X server");
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const auto half = static_cast<std::uint16_t>(screen->width_in_pixels / 2);
    const std::uint16_t height = screen->height_in_pixels;
    const xcb_gcontext_t context = xcb_generate_id(connection);
    xcb_create_gc(connection, context, screen->root, XCB_GC_FOREGROUND, &left);
    const xcb_rectangle_t onTheLeft = {0, 0, half, height};
    xcb_poly_fill_rectangle(connection, screen->root, context, 1, &onTheLeft);
    xcb_change_gc(connection, context, XCB_GC_FOREGROUND, &right);
    const xcb_rectangle_t onTheRight = {static_cast<std::int16_t>(half), 0, half, height};
    xcb_poly_fill_rectangle(connection, screen->root, context, 1, &onTheRight);
    // An answer comes when everything before it is done.
    std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    xcb_disconnect(connection);
}

void XServer::freeze() const {
    ::kill(process_, SIGSTOP);
    // Stopped for certain only when the system says so.
    ::waitpid(process_, nullptr, WUNTRACED);
}

}  // namespace larkspan::testing
