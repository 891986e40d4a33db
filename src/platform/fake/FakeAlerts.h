#pragma once

#include "platform/Alerts.h"

#include <map>
#include <vector>

namespace larkspan::platform {

class FakeWindow final : public Window {
  public:
    bool hasAttachedSheet() const override { return hasSheet; }
    void makeKeyAndOrderFront() override { ++timesInFront; }

    bool hasSheet = false;
    int timesInFront = 0;
};

// Alerts that tests answer. Main thread only, as the others are.
class FakeAlerts final : public Alerts {
  public:
    struct Shown {
        AlertRequest request;
        std::shared_ptr<Window> window;
        AlertID alert = 0;
    };

    std::shared_ptr<Window> mainWindow() override { return window; }
    AlertID show(const AlertRequest& request, const std::shared_ptr<Window>& over,
                 Answered answered) override;
    void orderOut(AlertID alert) override { up_.erase(alert); }

    // The person answers an alert that is up; nothing happens for any other.
    void answer(AlertID alert, const AlertAnswer& given);
    bool isUp(AlertID alert) const { return up_.contains(alert); }

    std::vector<Shown> shown;                   // all of them, in order
    std::shared_ptr<Window> window;             // null, as for a program without windows
    std::optional<AlertAnswer> answersAtOnce;   // what is answered before show() returns
    std::function<void(AlertID alert)> onShow;  // called when one is up

  private:
    std::map<AlertID, Answered> up_;
};

}  // namespace larkspan::platform
