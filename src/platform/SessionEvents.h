#pragma once

#include <functional>
#include <memory>

namespace larkspan::platform {

enum class SessionEvent { becameActive, resignedActive, willPowerOff, willSleep, didWake };

// What happens to the user's login session and to the machine's power. A system that does not tell
// is fine: then no event ever comes.
class SessionEvents {
  public:
    using Observer = std::function<void(SessionEvent)>;
    // Keeps an observer registered until destroyed, on the main thread.
    class Observation {
      public:
        virtual ~Observation() = default;
    };

    virtual ~SessionEvents() = default;

    // Calls the observer on the main thread. Main thread only; never waits for the system.
    virtual std::unique_ptr<Observation> observe(Observer observer) = 0;
};

}  // namespace larkspan::platform
