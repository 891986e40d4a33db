#pragma once

#include "platform/linux/GObjectHandle.h"
#include "support/TemporaryFolder.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <gio/gio.h>

namespace larkspan::platform {

// A message bus of the test's own, in a process that ends with it.
class PrivateBus {
  public:
    // Empty when dbus-daemon does not start, as where there is none.
    static std::unique_ptr<PrivateBus> start();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus() { stop(); }

    const std::string& address() const { return address_; }
    void stop();

  private:
    PrivateBus() = default;

    larkspan::testing::TemporaryFolder folder_;
    std::string address_;
    int process_ = 0;
};

// A program on a bus with objects that answer through one function. Serves on the default main
// context.
class BusProgram {
  public:
    struct Call {
        std::string path;
        std::string member;
        GVariant* parameters;
    };
    // Gives the results as a tuple; null stands for an error.
    using Answer = std::function<GVariant*(const Call&)>;

    BusProgram(const std::string& busAddress, const char* name, Answer answer);
    BusProgram(const BusProgram&) = delete;
    BusProgram& operator=(const BusProgram&) = delete;
    ~BusProgram();

    // Answers the calls of an interface, described in the introspection format, at a path.
    void serve(const char* path, const std::string& interfaceXml);
    void signal(const char* path, const char* interface, const char* member, GVariant* parameters);

  private:
    const Answer answer_;
    ConnectionHandle connection_;
};

// Sets an environment variable, or unsets it, for as long as it lives.
class ScopedVariable {
  public:
    ScopedVariable(const char* name, const char* value);
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable();

  private:
    static void set(const char* name, const char* value);
    const char* const name_;
    std::optional<std::string> before_;
};

}  // namespace larkspan::platform
