#pragma once

#include "platform/ObserverList.h"
#include "platform/SessionEvents.h"

#include <utility>

namespace larkspan::platform {

// Events happen when tests say so. Main thread only.
class FakeSessionEvents final : public SessionEvents {
  public:
    std::unique_ptr<Observation> observe(Observer observer) override {
        return observers_.add(std::move(observer));
    }

    // Tells every observer, before it returns.
    void send(SessionEvent event) { observers_.notify(event); }

  private:
    ObserverList<Observation, SessionEvent> observers_;
};

}  // namespace larkspan::platform
