#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace larkspan::platform {

// The observers of one thing, called in the order in which they were added. One thread only.
// `Observation` is the class of the handles that keep observers registered; a handle may outlive
// the list.
template <class Observation, class... Arguments>
class ObserverList {
  public:
    using Observer = std::function<void(Arguments...)>;

    [[nodiscard]] std::unique_ptr<Observation> add(Observer observer) {
        auto entry = std::make_shared<const Observer>(std::move(observer));
        entries_.push_back(entry);
        return std::make_unique<Registration>(std::move(entry));
    }

    // Observers may add and remove observers. One that is removed meanwhile is not called any
    // more, one that is added is called from the next time on.
    void notify(const Arguments&... arguments) {
        std::erase_if(entries_, [](const auto& entry) { return entry.expired(); });
        const auto present = entries_;
        for (const auto& entry : present) {
            if (const auto observer = entry.lock()) (*observer)(arguments...);
        }
    }

    bool empty() const {
        return std::ranges::all_of(entries_, [](const auto& entry) { return entry.expired(); });
    }

  private:
    struct Registration final : Observation {
        explicit Registration(std::shared_ptr<const Observer> entry) : observer(std::move(entry)) {}
        const std::shared_ptr<const Observer> observer;
    };
    std::vector<std::weak_ptr<const Observer>> entries_;
};

}  // namespace larkspan::platform
