#pragma once

#include <functional>
#include <mutex>
#include <utility>

namespace larkspan {

// Tells work on another thread to end, and wakes it up. Any thread.
class CancelFlag {
  public:
    void cancel() {
        const std::lock_guard lock(mutex_);
        cancelled_ = true;
        if (wake_) wake_();
    }
    bool isCancelled() const {
        const std::lock_guard lock(mutex_);
        return cancelled_;
    }

    // Has cancel() call `wake` for as long as this lives.
    class Wakes {
      public:
        Wakes(CancelFlag& flag, std::function<void()> wake) : flag_(flag) { set(std::move(wake)); }
        Wakes(const Wakes&) = delete;
        Wakes& operator=(const Wakes&) = delete;
        ~Wakes() { set(nullptr); }

      private:
        void set(std::function<void()> wake) {
            const std::lock_guard lock(flag_.mutex_);
            flag_.wake_ = std::move(wake);
        }
        CancelFlag& flag_;
    };

  private:
    mutable std::mutex mutex_;
    bool cancelled_ = false;
    std::function<void()> wake_;
};

}  // namespace larkspan
