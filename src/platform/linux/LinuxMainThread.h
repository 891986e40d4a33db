#pragma once

#include "platform/MainThread.h"
#include "platform/posix/FileDescriptor.h"

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

namespace larkspan::platform {

// The GLib default main loop. Work from other threads goes through a queue of our own and an
// eventfd that the loop watches, so that what crosses threads is plain C++ that race checkers see.
class LinuxMainThread final : public MainThread {
  public:
    LinuxMainThread();
    ~LinuxMainThread() override;

    bool isCurrent() const override { return std::this_thread::get_id() == thread_; }
    void post(Work work) override;
    bool performAndWait(Work work) override;
    std::unique_ptr<Timer> scheduleRepeating(Seconds interval, Work work) override;
    void run() override;
    void serveEvent(Seconds longestWait) override;
    void stop() override;
    void terminate() override;
    bool hasEnded() const override;

    // Calls `ready` on the main thread whenever the descriptor can be read (or reports an error),
    // until the handle is destroyed. Main thread only; the descriptor stays the caller's.
    std::unique_ptr<Timer> watchDescriptor(int descriptor, Work ready);
    // The same for a descriptor that reports exceptional conditions, as /proc/self/mountinfo does.
    std::unique_ptr<Timer> watchDescriptorForPriority(int descriptor, Work ready);

  private:
    void drain();
    void wake() const;

    const std::thread::id thread_ = std::this_thread::get_id();
    FileDescriptor wakeUp_;
    std::unique_ptr<Timer> wakeUpWatch_;
    int servedAmidAnother_ = 0;  // calls of serveEvent(), main thread only
    std::atomic<bool> stopRequested_{false};
    mutable std::mutex mutex_;
    std::deque<Work> posted_;
    bool terminated_ = false;
};

}  // namespace larkspan::platform
