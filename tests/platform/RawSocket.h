#pragma once

#include "foundation/Path.h"
#include "platform/posix/FileDescriptor.h"

#include <string>
#include <string_view>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace larkspan::platform {

// A caller that says what it likes over a Unix socket. Calls the system only, so that a forked
// child may use it.
class RawSocket {
  public:
    explicit RawSocket(const Path& path) : socket_(::socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un at{};
        at.sun_family = AF_UNIX;
        path.str().copy(at.sun_path, sizeof at.sun_path - 1);
        if (::connect(socket_.get(), reinterpret_cast<sockaddr*>(&at), sizeof at) != 0) {
            socket_.reset();
        }
    }

    explicit operator bool() const { return bool(socket_); }

    // What the other side has taken already may be gone by then; that is no failure.
    void send(std::string_view bytes) const {
        (void)::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }
    // What comes until the other side has said `end` or hung up, or nothing came for a while.
    std::string receiveUntil(std::string_view end, int milliseconds = 10'000) const {
        std::string all;
        char bytes[512];
        while (all.find(end) == std::string::npos) {
            pollfd wait{socket_.get(), POLLIN, 0};
            if (::poll(&wait, 1, milliseconds) <= 0) return all + "(silence)";
            const ssize_t count = ::recv(socket_.get(), bytes, sizeof bytes, 0);
            if (count <= 0) return all + "(hung up)";
            all.append(bytes, static_cast<size_t>(count));
        }
        return all;
    }

  private:
    FileDescriptor socket_;
};

}  // namespace larkspan::platform
