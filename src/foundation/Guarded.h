#pragma once

#include <mutex>
#include <utility>

namespace larkspan {

// Data that may be touched only while its lock is held.
//
//   Guarded<std::vector<Path>> found;
//   found.with([&](auto& paths) { paths.push_back(path); });
template <class T>
class Guarded {
  public:
    Guarded() = default;
    explicit Guarded(T value) : value_(std::move(value)) {}

    template <class Function>
    auto with(Function&& function) {
        const std::lock_guard lock(mutex_);
        return std::forward<Function>(function)(value_);
    }
    template <class Function>
    auto with(Function&& function) const {
        const std::lock_guard lock(mutex_);
        return std::forward<Function>(function)(value_);
    }
    T copy() const {
        return with([](const T& value) { return value; });
    }

  private:
    mutable std::mutex mutex_;
    T value_{};
};

}  // namespace larkspan
