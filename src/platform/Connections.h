#pragma once

#include "foundation/Date.h"
#include "foundation/Result.h"
#include "foundation/Value.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace larkspan::platform {

inline constexpr const char* connectionErrorDomain = "ConnectionErrorDomain";
namespace ConnectionErrorCode {
inline constexpr long nobodyServes = 1;   // no process serves that name
inline constexpr long alreadyServed = 2;  // another process serves that name
inline constexpr long connectionLost = 3;
inline constexpr long timedOut = 4;
inline constexpr long refused = 5;  // unknown command or property, or another user's process
}  // namespace ConnectionErrorCode

inline Error connectionError(long code, std::string description) {
    return {connectionErrorDomain, code, std::move(description)};
}

// What a process offers under a name: commands without arguments and read-only facts. All functions
// are called on the main thread.
struct ServedObject {
    std::map<std::string, std::function<void()>> commands = {};
    std::map<std::string, std::function<Value()>> properties = {};
};

// Named connections between processes of one user on one machine. Processes of other users are
// refused.
class Connections {
  public:
    // Ends the service when destroyed, on the main thread.
    class Service {
      public:
        virtual ~Service() = default;
    };

    // The other side's view. Used by one thread at a time.
    class Client {
      public:
        virtual ~Client() = default;

        // Invokes a command and returns when the other side has carried it out.
        virtual std::optional<Error> call(const std::string& command, Seconds timeout) = 0;
        virtual Result<Value> property(const std::string& name, Seconds timeout) = 0;

        // Waits for a distributed notification with that name that arrives after this client was
        // made and was not yet waited for; false at the time-out. connectionLost ends the wait.
        virtual Result<bool> waitForNotification(const std::string& name, Seconds timeout) = 0;
    };

    virtual ~Connections() = default;

    // Serves an object under a name; main thread only. A name that a process left behind when it
    // ended is taken over; when another process serves it, alreadyServed.
    virtual Result<std::unique_ptr<Service>> serve(const std::string& name,
                                                   ServedObject object) = 0;

    virtual Result<std::unique_ptr<Client>> connect(const std::string& name, Seconds timeout) = 0;

    // Tells every process connected to a service of this one. Any thread; does not wait.
    virtual void postDistributedNotification(const std::string& name) = 0;
};

}  // namespace larkspan::platform
