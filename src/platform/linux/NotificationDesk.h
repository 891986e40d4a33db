#pragma once

#include "platform/UserNotifications.h"
#include "platform/linux/AsyncDBus.h"

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace larkspan::platform {

// What became of a notice.
enum class NoticeEnd { clicked, timedOut };

// The conversation with the desktop's notification service over one message bus. Connects when
// there is a first notice to show; when there is no bus or no service, drops what it holds and
// tries again no sooner than a minute later. Belongs to one thread that serves its thread-default
// main context.
class NotificationDesk {
  public:
    // Called with the notice's context, at most once for each notice.
    using Ended = std::function<void(NoticeEnd end, const std::optional<Value>& context)>;

    NotificationDesk(std::string busAddress, Ended ended);
    NotificationDesk(const NotificationDesk&) = delete;
    NotificationDesk& operator=(const NotificationDesk&) = delete;

    void show(UserNotification notification);

    // Whether every notice has been handed over or dropped.
    bool isSettled() const { return waiting_.empty() && underWay_ == 0; }

    // Gives up what is under way; nothing is called after this.
    void cancel() { cancellation_.cancel(); }
    // Whether GLib still holds something of what was given up.
    bool isPending() const { return cancellation_.isPending(); }

  private:
    struct Shown {
        guint32 id;
        std::optional<Value> context;
    };
    struct Capabilities {
        bool actions = false;
        bool bodyMarkup = false;
    };

    void advance();
    void connected(Result<ConnectionHandle> opened);
    void listen();
    void lost();
    void ownerChanged(GVariant* parameters);
    void askCapabilities();
    void learn(GVariant* capabilities);
    void giveUp();
    void send(const UserNotification& notification);
    GVariant* arguments(const UserNotification& notification) const;
    void accepted(guint32 id, std::optional<Value> context);
    void received(const std::string& signal, GVariant* parameters);
    void end(guint32 id, std::optional<NoticeEnd> how);
    void forgetServer();

    const std::string busAddress_;
    const Ended ended_;
    ConnectionHandle connection_;
    std::vector<std::unique_ptr<SignalSubscription>> subscriptions_;
    std::unique_ptr<ClosedWatch> closed_;
    std::optional<Capabilities> capabilities_;  // of the service that runs now
    bool asking_ = false;                       // for the connection or the capabilities
    std::deque<UserNotification> waiting_;
    size_t underWay_ = 0;  // sent and not answered
    std::deque<Shown> shown_;
    // What ended before the answer that tells its number.
    std::vector<std::pair<guint32, std::optional<NoticeEnd>>> early_;
    std::chrono::steady_clock::time_point notBefore_;
    Cancellation cancellation_;  // last, so that it is gone before what its answers use
};

}  // namespace larkspan::platform
