#include "foundation/NotificationCenter.h"

#include <utility>

namespace larkspan {

NotificationCenter& NotificationCenter::defaultCenter() {
    static NotificationCenter center;
    return center;
}

NotificationCenter::Token NotificationCenter::addObserver(std::string name, Observer observer) {
    auto entry = std::make_shared<Entry>(Entry{std::move(name), std::move(observer)});
    const std::lock_guard lock(mutex_);
    std::erase_if(entries_, [](const auto& known) { return known.expired(); });
    entries_.push_back(entry);
    return entry;
}

void NotificationCenter::postNotification(const std::string& name, Value userInfo) {
    std::vector<std::shared_ptr<Entry>> called;
    {
        const std::lock_guard lock(mutex_);
        for (const auto& known : entries_) {
            auto entry = known.lock();
            if (entry && entry->name == name) called.push_back(std::move(entry));
        }
    }
    const Notification notification{name, std::move(userInfo)};
    for (const auto& entry : called) entry->observer(notification);
}

}  // namespace larkspan
