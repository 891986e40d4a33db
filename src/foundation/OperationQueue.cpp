#include "foundation/OperationQueue.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace larkspan {
namespace {

thread_local std::vector<const OperationQueue*> queuesRunningHere;

}  // namespace

OperationQueue::OperationQueue(int maxConcurrentOperationCount, ExceptionHandler handler,
                               std::chrono::milliseconds delay)
    : maxConcurrent_(std::max(1, maxConcurrentOperationCount)),
      handler_(std::move(handler)),
      delay_(delay) {}

OperationQueue::~OperationQueue() {
    std::deque<Operation> dropped;  // destroyed without the lock: what they own may use the queue
    {
        const std::lock_guard lock(mutex_);
        closing_ = true;
        dropped.swap(waiting_);
    }
    dropped.clear();
    workAdded_.notify_all();
    for (std::thread& thread : threads_) thread.join();
}

void OperationQueue::addOperation(Operation operation) {
    {
        const std::lock_guard lock(mutex_);
        if (closing_) return;
        waiting_.push_back(std::move(operation));
        const bool moreThreads = std::cmp_less(threads_.size(), maxConcurrent_);
        if (moreThreads && std::cmp_greater(waiting_.size(), idleThreads_)) {
            threads_.emplace_back([this] { work(); });
        }
    }
    workAdded_.notify_one();
}

void OperationQueue::addOperationAndWait(Operation operation) {
    if (maxConcurrent_ > 1 || isCurrent()) {
        addOperation(std::move(operation));
        return waitUntilAllOperationsAreFinished();
    }
    std::unique_lock lock(mutex_);
    if (closing_) return;
    waiting_.push_back(std::move(operation));
    waitUntilFinished(lock);
}

void OperationQueue::waitUntilAllOperationsAreFinished() {
    if (isCurrent()) return;
    std::unique_lock lock(mutex_);
    waitUntilFinished(lock);
}

void OperationQueue::waitUntilFinished(std::unique_lock<std::mutex>& lock) {
    while (!waiting_.empty() || running_ > 0) {
        if (maxConcurrent_ == 1 && mayRun()) {
            runNext(lock);
        } else {
            finished_.wait(lock);
        }
    }
}

size_t OperationQueue::operationCount() const {
    const std::lock_guard lock(mutex_);
    return waiting_.size() + static_cast<size_t>(running_);
}

bool OperationQueue::isCurrent() const {
    for (const OperationQueue* queue : queuesRunningHere) {
        if (queue == this) return true;
    }
    return false;
}

void OperationQueue::work() {
    std::unique_lock lock(mutex_);
    for (;;) {
        ++idleThreads_;
        workAdded_.wait(lock, [this] { return closing_ || mayRun(); });
        --idleThreads_;
        if (delay_.count() > 0) workAdded_.wait_for(lock, delay_, [this] { return closing_; });
        if (closing_) return;
        if (mayRun()) runNext(lock);
    }
}

// Called and left with the lock held; the operation runs and is destroyed without it.
void OperationQueue::runNext(std::unique_lock<std::mutex>& lock) {
    Operation operation = std::move(waiting_.front());
    waiting_.pop_front();
    ++running_;
    lock.unlock();
    queuesRunningHere.push_back(this);
    try {
        operation();
    } catch (const std::exception& exception) {
        if (handler_) handler_(exception.what());
    } catch (...) {
        if (handler_) handler_("unknown exception");
    }
    operation = nullptr;
    queuesRunningHere.pop_back();
    lock.lock();
    --running_;
    finished_.notify_all();
    if (mayRun()) workAdded_.notify_one();
}

}  // namespace larkspan
