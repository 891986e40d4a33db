#include "support/RawServer.h"

#include <array>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace larkspan::testing {

RawServer::RawServer(RawBehaviour behaviour)
    : behaviour_(std::move(behaviour)),
      listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    constexpr int backlog = 16;
    if (listener_ < 0 || ::bind(listener_, generic, length) != 0 ||
        ::listen(listener_, backlog) != 0 || ::getsockname(listener_, generic, &length) != 0) {
        throw std::runtime_error("no listener can be made");
    }
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
}

RawServer::~RawServer() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
        for (const int connection : held_) ::shutdown(connection, SHUT_RDWR);
    }
    ::shutdown(listener_, SHUT_RDWR);
    thread_.join();
    for (const int connection : held_) ::close(connection);
    ::close(listener_);
}

std::string RawServer::host() const {
    return "127.0.0.1:" + std::to_string(port_);
}

void RawServer::waitUntilHeld() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return !held_.empty(); });
}

void RawServer::serve() {
    for (;;) {
        const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) return;
        treat(connection);
        const std::lock_guard lock(mutex_);
        if (ending_) {
            ::close(connection);
            return;
        }
        if (behaviour_.holds) {
            held_.push_back(connection);
            changed_.notify_all();
        } else {
            ::close(connection);
        }
    }
}

void RawServer::treat(int connection) {
    std::array<char, 65536> buffer{};
    for (size_t got = 0; got < behaviour_.readBytes;) {
        const ssize_t count = ::recv(connection, buffer.data(), buffer.size(), 0);
        if (count <= 0) return;
        got += static_cast<size_t>(count);
    }
    (void)::send(connection, behaviour_.answer.data(), behaviour_.answer.size(), MSG_NOSIGNAL);
}

}  // namespace larkspan::testing
