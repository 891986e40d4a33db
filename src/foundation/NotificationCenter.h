#pragma once

#include "foundation/Value.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace larkspan {

// Announcements inside the process, by name. Every member may be called from any thread.
class NotificationCenter {
  public:
    struct Notification {
        std::string name;
        Value userInfo;  // a dictionary, empty when there is nothing to say
    };
    using Observer = std::function<void(const Notification&)>;

    // Keeps an observer registered for as long as it lives. Destroying it does not wait for a call
    // of the observer that another thread has begun.
    using Token = std::shared_ptr<void>;

    static NotificationCenter& defaultCenter();

    [[nodiscard]] Token addObserver(std::string name, Observer observer);

    // Calls every observer of the name, in the order of registration, on the caller's thread.
    void postNotification(const std::string& name, Value userInfo = {});

  private:
    struct Entry {
        std::string name;
        Observer observer;
    };
    std::mutex mutex_;
    std::vector<std::weak_ptr<Entry>> entries_;
};

}  // namespace larkspan
