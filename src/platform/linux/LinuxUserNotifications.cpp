#include "platform/linux/LinuxUserNotifications.h"

#include "platform/linux/SessionBus.h"

#include <utility>

namespace larkspan::platform {
namespace {

constexpr Seconds farewell = std::chrono::seconds(1);
constexpr Seconds clearingUp = std::chrono::seconds(5);

}  // namespace

LinuxUserNotifications::LinuxUserNotifications() : busAddress_(sessionBusAddress()) {}

LinuxUserNotifications::~LinuxUserNotifications() {
    if (!thread_) return;
    thread_->post([this, &context = thread_->context()] { finish(context); });
    thread_.reset();
}

void LinuxUserNotifications::finish(LoopContext& context) {
    (void)context.serveUntil([this] { return desk_->isSettled(); }, farewell);
    desk_->cancel();
    (void)context.serveUntil([this] { return !desk_->isPending(); }, clearingUp);
    desk_.reset();
}

void LinuxUserNotifications::post(const UserNotification& notification) {
    if (busAddress_.empty()) return;
    std::call_once(started_, [this] {
        thread_ = std::make_unique<LoopThread>();
        thread_->post([this] {
            desk_ = std::make_unique<NotificationDesk>(
                busAddress_,
                [this](NoticeEnd end, const std::optional<Value>& context) { tell(end, context); });
        });
    });
    thread_->post([this, notification] { desk_->show(notification); });
}

void LinuxUserNotifications::tell(NoticeEnd end, const std::optional<Value>& context) const {
    const Delegate delegate = delegate_.copy();
    const auto& callback = end == NoticeEnd::clicked ? delegate.clicked : delegate.timedOut;
    if (callback) callback(context);
}

bool LinuxUserNotifications::hasDelegate() const {
    return delegate_.with([](const Delegate& delegate) {
        return delegate.clicked != nullptr || delegate.timedOut != nullptr;
    });
}

void LinuxUserNotifications::setDelegate(ContextCallback clicked, ContextCallback timedOut) {
    delegate_.with([&](Delegate& delegate) {
        delegate = {std::move(clicked), std::move(timedOut)};
    });
}

}  // namespace larkspan::platform
