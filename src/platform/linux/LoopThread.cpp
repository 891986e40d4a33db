#include "platform/linux/LoopThread.h"

#include <utility>

namespace larkspan::platform {

LoopThread::LoopThread() : thread_([this] { run(); }) {}

LoopThread::~LoopThread() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    context_.wakeUp();
    thread_.join();
}

void LoopThread::post(Work work) {
    {
        const std::lock_guard lock(mutex_);
        posted_.push_back(std::move(work));
    }
    context_.wakeUp();
}

void LoopThread::run() {
    const LoopContext::Scope scope(context_);
    while (runPosted()) context_.serveOnce();
}

bool LoopThread::runPosted() {
    for (;;) {
        Work work;
        {
            const std::lock_guard lock(mutex_);
            if (posted_.empty()) return !ending_;
            work = std::move(posted_.front());
            posted_.pop_front();
        }
        work();
    }
}

}  // namespace larkspan::platform
