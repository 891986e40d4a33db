#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace larkspan::testing {

// What a raw server does with each connection.
struct RawBehaviour {
    size_t readBytes = 1;     // reads that many first
    std::string answer = {};  // then sends this
    bool holds = false;       // then does nothing until the server ends; else closes
};

// A listener on the loopback address that treats connections as nobody should.
class RawServer {
  public:
    explicit RawServer(RawBehaviour behaviour);
    RawServer(const RawServer&) = delete;
    RawServer& operator=(const RawServer&) = delete;
    ~RawServer();

    // "127.0.0.1:PORT".
    std::string host() const;
    // Waits until a connection has come to where it is held.
    void waitUntilHeld();

  private:
    void serve();
    void treat(int connection);

    const RawBehaviour behaviour_;
    int listener_;
    std::uint16_t port_ = 0;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<int> held_;
    bool ending_ = false;
    std::thread thread_;
};

}  // namespace larkspan::testing
