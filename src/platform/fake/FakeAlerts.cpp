#include "platform/fake/FakeAlerts.h"

namespace larkspan::platform {

AlertID FakeAlerts::show(const AlertRequest& request, const std::shared_ptr<Window>& over,
                         Answered answered) {
    const AlertID alert = shown.size() + 1;
    shown.push_back({request, over, alert});
    up_.emplace(alert, std::move(answered));
    if (answersAtOnce) answer(alert, *answersAtOnce);
    if (onShow) onShow(alert);
    return alert;
}

void FakeAlerts::answer(AlertID alert, const AlertAnswer& given) {
    const auto answered = up_.extract(alert);
    if (!answered.empty()) answered.mapped()(given);
}

}  // namespace larkspan::platform
