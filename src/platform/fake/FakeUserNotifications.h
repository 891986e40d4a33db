#pragma once

#include "foundation/Guarded.h"
#include "platform/UserNotifications.h"

#include <optional>
#include <utility>
#include <vector>

namespace larkspan::platform {

// Keeps the notices that were posted and lets tests act for the user.
class FakeUserNotifications final : public UserNotifications {
  public:
    void post(const UserNotification& notification) override {
        posted_.with([&](auto& posted) { posted.push_back(notification); });
    }
    bool hasDelegate() const override {
        return delegate_.with([](const Delegate& delegate) { return bool(delegate.clicked); });
    }
    void setDelegate(ContextCallback clicked, ContextCallback timedOut) override {
        delegate_.with([&](Delegate& delegate) {
            delegate = {std::move(clicked), std::move(timedOut)};
        });
    }

    std::vector<UserNotification> posted() const { return posted_.copy(); }

    // The user clicks the notice at that place in posted(), or lets it go away. Calls the delegate
    // on the caller's thread; without one, nothing happens.
    void click(size_t index) { tell(delegate_.copy().clicked, index); }
    void timeOut(size_t index) { tell(delegate_.copy().timedOut, index); }

  private:
    struct Delegate {
        ContextCallback clicked;
        ContextCallback timedOut;
    };
    void tell(const ContextCallback& callback, size_t index) const {
        const UserNotification notification = posted().at(index);
        if (callback) callback(notification.context);
    }

    Guarded<std::vector<UserNotification>> posted_;
    Guarded<Delegate> delegate_;
};

}  // namespace larkspan::platform
