#include "platform/linux/LinuxMainThread.h"

#include <cassert>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <iterator>
#include <utility>

#include <glib-unix.h>
#include <sys/eventfd.h>

namespace larkspan::platform {
namespace {

// One GLib source and the work it calls.
class SourceTimer final : public MainThread::Timer {
  public:
    explicit SourceTimer(MainThread::Work work)
        : work_(std::make_shared<const MainThread::Work>(std::move(work))) {}
    ~SourceTimer() override {
        if (source_ != 0) g_source_remove(source_);
    }
    void attach(guint source) { source_ = source; }
    void allowNesting() const {
        g_source_set_can_recurse(g_main_context_find_source_by_id(nullptr, source_), TRUE);
    }

    // The call may destroy this timer, but not the work amid itself.
    static gboolean fired(gpointer data) {
        const auto work = static_cast<SourceTimer*>(data)->work_;
        (*work)();
        return G_SOURCE_CONTINUE;
    }
    static gboolean descriptorReady(gint, GIOCondition, gpointer data) { return fired(data); }

  private:
    std::shared_ptr<const MainThread::Work> work_;
    guint source_ = 0;
};

std::unique_ptr<MainThread::Timer> watch(int descriptor, GIOCondition condition,
                                         MainThread::Work ready) {
    auto timer = std::make_unique<SourceTimer>(std::move(ready));
    timer->attach(g_unix_fd_add(descriptor, condition, SourceTimer::descriptorReady, timer.get()));
    return timer;
}

}  // namespace

LinuxMainThread::LinuxMainThread() : wakeUp_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    auto watching = std::make_unique<SourceTimer>([this] { drain(); });
    watching->attach(
        g_unix_fd_add(wakeUp_.get(), G_IO_IN, SourceTimer::descriptorReady, watching.get()));
    // Posted work that serves events itself must still get what is posted meanwhile.
    watching->allowNesting();
    wakeUpWatch_ = std::move(watching);
}

LinuxMainThread::~LinuxMainThread() {
    terminate();
}

void LinuxMainThread::wake() const {
    const std::uint64_t one = 1;
    // Cannot fail but when the counter is full, and then the loop wakes all the same.
    [[maybe_unused]] const ssize_t written = ::write(wakeUp_.get(), &one, sizeof one);
}

void LinuxMainThread::post(Work work) {
    {
        const std::lock_guard lock(mutex_);
        if (terminated_) return;
        posted_.push_back(std::move(work));
        if (posted_.size() > 1) return;  // the loop has been woken for the one before
    }
    wake();
}

bool LinuxMainThread::performAndWait(Work work) {
    if (isCurrent()) {
        work();
        return true;
    }
    // Settles the wait when it is destroyed, whether the work ran or was dropped unrun.
    struct Completion {
        std::mutex mutex;
        std::condition_variable changed;
        bool settled = false;
        bool ran = false;
    };
    auto completion = std::make_shared<Completion>();
    const auto settle = [](Completion* settled) {
        const std::lock_guard lock(settled->mutex);
        settled->settled = true;
        settled->changed.notify_all();
    };
    // The deleter shares ownership, so the wait below never looks at freed memory.
    std::shared_ptr<Completion> ticket(completion.get(),
                                       [completion, settle](Completion* done) { settle(done); });
    post([ticket = std::move(ticket), work = std::move(work)] {
        work();
        const std::lock_guard lock(ticket->mutex);
        ticket->ran = true;
    });
    std::unique_lock lock(completion->mutex);
    completion->changed.wait(lock, [&] { return completion->settled; });
    return completion->ran;
}

std::unique_ptr<MainThread::Timer> LinuxMainThread::scheduleRepeating(Seconds interval, Work work) {
    assert(isCurrent());
    auto timer = std::make_unique<SourceTimer>(std::move(work));
    const double seconds = interval.count();
    const bool whole = seconds >= 1 && std::floor(seconds) == seconds;
    // Timers of whole seconds share their wake-ups with other programs.
    timer->attach(
        whole ? g_timeout_add_seconds(static_cast<guint>(seconds), SourceTimer::fired, timer.get())
              : g_timeout_add(static_cast<guint>(std::ceil(seconds * 1000)), SourceTimer::fired,
                              timer.get()));
    return timer;
}

std::unique_ptr<MainThread::Timer> LinuxMainThread::watchDescriptor(int descriptor, Work ready) {
    assert(isCurrent());
    return watch(descriptor, G_IO_IN, std::move(ready));
}

std::unique_ptr<MainThread::Timer> LinuxMainThread::watchDescriptorForPriority(int descriptor,
                                                                               Work ready) {
    assert(isCurrent());
    return watch(descriptor, G_IO_PRI, std::move(ready));
}

void LinuxMainThread::drain() {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = ::read(wakeUp_.get(), &count, sizeof count);
    std::deque<Work> ready;
    {
        const std::lock_guard lock(mutex_);
        ready.swap(posted_);
    }
    while (!ready.empty()) {
        if (stopRequested_ && servedAmidAnother_ == 0) {
            // What is left keeps its place before what was posted meanwhile.
            const std::lock_guard lock(mutex_);
            if (!terminated_) {
                posted_.insert(posted_.begin(), std::make_move_iterator(ready.begin()),
                               std::make_move_iterator(ready.end()));
                wake();
            }
            return;
        }
        const Work work = std::move(ready.front());
        ready.pop_front();
        work();
    }
}

void LinuxMainThread::run() {
    assert(isCurrent());
    while (!stopRequested_) g_main_context_iteration(nullptr, TRUE);
    stopRequested_ = false;
}

void LinuxMainThread::serveEvent(Seconds longestWait) {
    assert(isCurrent());
    const auto limit = scheduleRepeating(longestWait, [] {});
    ++servedAmidAnother_;
    g_main_context_iteration(nullptr, TRUE);
    --servedAmidAnother_;
}

void LinuxMainThread::stop() {
    stopRequested_ = true;
    wake();
}

void LinuxMainThread::terminate() {
    std::deque<Work> dropped;
    const std::lock_guard lock(mutex_);
    terminated_ = true;
    dropped.swap(posted_);
}

bool LinuxMainThread::hasEnded() const {
    const std::lock_guard lock(mutex_);
    return terminated_;
}

}  // namespace larkspan::platform
