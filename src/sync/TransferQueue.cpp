#include "sync/TransferQueue.h"

#include "kit/ZBLog.h"
#include "kit/ZBTaskEx.h"

#include <algorithm>
#include <utility>

namespace larkspan {

TransferQueue::TransferQueue(size_t mostAtOnce)
    : mostAtOnce_(mostAtOnce), watchers_(static_cast<int>(mostAtOnce)) {}

TransferQueue::~TransferQueue() {
    const std::lock_guard lock(mutex_);
    if (!waiting_.empty()) {
        ZBLog::fastAppendLog("Transfers that were not started: %i", waiting_.size());
    }
    waiting_.clear();
    calls_.clear();
    // Lets the threads go that wait for the ends of what runs.
    for (const Run& run : running_) run.process->stopReading();
}

void TransferQueue::add(Transfer transfer) {
    std::unique_lock lock(mutex_);
    waiting_.push_back(std::move(transfer));
    startWhatMay(lock);
}

bool TransferQueue::isIdle() {
    const std::lock_guard lock(mutex_);
    return waiting_.empty() && running_.empty();
}

void TransferQueue::whenAllAreStarted(std::function<void()> call) {
    std::unique_lock lock(mutex_);
    calls_.push_back(std::move(call));
    startWhatMay(lock);
}

bool TransferQueue::mayStart(const Transfer& transfer) const {
    if (running_.size() >= mostAtOnce_) return false;
    return transfer.file.empty() || std::ranges::none_of(running_, [&](const Run& run) {
               return run.transfer.file == transfer.file;
           });
}

void TransferQueue::startWhatMay(std::unique_lock<std::mutex>& lock) {
    while (!waiting_.empty() && mayStart(waiting_.front())) {
        Transfer transfer = std::move(waiting_.front());
        waiting_.pop_front();
        auto process = ZBTaskEx::runLastingTaskAndReturn(transfer.executable, transfer.arguments);
        if (!process) continue;
        running_.push_back({std::move(transfer), std::move(process)});
        watchers_.addOperation([this, run = std::prev(running_.end())] { waitForEnd(run); });
    }
    if (!waiting_.empty()) return;
    const auto calls = std::exchange(calls_, {});
    lock.unlock();
    for (const auto& call : calls) call();
}

void TransferQueue::waitForEnd(std::list<Run>::iterator run) {
    while (!run->process->readAvailableOutput().empty()) {
    }
    std::unique_lock lock(mutex_);
    running_.erase(run);
    startWhatMay(lock);
}

}  // namespace larkspan
