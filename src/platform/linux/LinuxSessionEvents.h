#pragma once

#include "platform/ObserverList.h"
#include "platform/SessionEvents.h"
#include "platform/linux/AsyncDBus.h"
#include "platform/linux/LinuxMainThread.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace larkspan::platform {

// What logind says on the system bus: PrepareForSleep, PrepareForShutdown and whether the session
// is active. The session is that of this process or, for a service of the user's, the one at the
// user's display. Connects when the first observer comes; without a bus or logind, or when the bus
// goes away later, no event comes. Main thread only.
class LinuxSessionEvents final : public SessionEvents {
  public:
    // The main thread must outlive this.
    explicit LinuxSessionEvents(LinuxMainThread& mainThread);
    LinuxSessionEvents(const LinuxSessionEvents&) = delete;
    LinuxSessionEvents& operator=(const LinuxSessionEvents&) = delete;
    ~LinuxSessionEvents() override;

    std::unique_ptr<Observation> observe(Observer observer) override;

  private:
    void connect();
    void listen();
    void managerSaid(const std::string& signal, GVariant* parameters);
    void findSession();
    void findDisplaySession();
    void useSession(const std::string& path);
    void sessionEnded();
    void askWhetherActive();
    void sessionChanged(GVariant* parameters);
    void setActive(bool active);

    LinuxMainThread& mainThread_;
    ObserverList<Observation, SessionEvent> observers_;
    bool connecting_ = false;
    ConnectionHandle bus_;
    std::unique_ptr<SignalSubscription> manager_;
    std::string session_;  // its object path, "" when there is none
    std::unique_ptr<SignalSubscription> sessionProperties_;
    std::optional<bool> active_;  // empty while unknown
    Cancellation cancellation_;   // last, so that it is gone before what its answers use
};

}  // namespace larkspan::platform
