#pragma once

#include "platform/linux/LoopContext.h"

#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace larkspan::platform {

// A thread that serves a GLib main context of its own. Asleep while nothing happens in it.
class LoopThread {
  public:
    using Work = std::function<void()>;

    LoopThread();
    LoopThread(const LoopThread&) = delete;
    LoopThread& operator=(const LoopThread&) = delete;
    // Runs what was posted before, then ends the thread and waits for it.
    ~LoopThread();

    // Runs work on the thread, where the context is the thread's default one. Works posted by one
    // thread run in order. Any thread.
    void post(Work work);

    // For use on the thread itself.
    LoopContext& context() { return context_; }

  private:
    void run();
    bool runPosted();

    LoopContext context_;
    std::mutex mutex_;
    std::deque<Work> posted_;
    bool ending_ = false;
    std::thread thread_;
};

}  // namespace larkspan::platform
