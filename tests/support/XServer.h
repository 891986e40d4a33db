#pragma once

#include "support/TemporaryFolder.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace larkspan::testing {

// An X server of the test's own without a screen to be seen, in a process that ends with it.
class XServer {
  public:
    // `screen` is "WIDTHxHEIGHTxDEPTH". Clients need the cookie when there is one. Null when Xvfb
    // does not start, as where there is none.
    static std::unique_ptr<XServer> start(const std::string& screen,
                                          const std::string& cookie = {});
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;
    ~XServer();

    std::string display() const { return ":" + number_; }
    // The file that holds the cookie.
    std::string authority() const { return (folder_.path() / "authority").str(); }
    // Fills the left and the right half of the screen; colours as the server's pixels have them.
    void paint(std::uint32_t left, std::uint32_t right) const;
    // It no longer answers until it ends.
    void freeze() const;

  private:
    XServer() = default;
    void run(std::vector<std::string> arguments);

    TemporaryFolder folder_;
    std::string number_;
    int process_ = 0;
};

}  // namespace larkspan::testing
