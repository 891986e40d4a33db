#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace larkspan {

// Runs operations on threads of its own, at most `maxConcurrentOperationCount` (one or more) at
// once, started in the order in which they were added. Threads start when there is work for them
// and live as long as the queue. Every member may be called from any thread.
//
// An operation that throws is reported to the exception handler and counts as finished.
class OperationQueue {
  public:
    using Operation = std::function<void()>;
    // Called on the queue's thread with the text of an exception that left an operation.
    using ExceptionHandler = std::function<void(const std::string& reason)>;

    // With a `delay`, threads of the queue start an operation only so much after they were called,
    // for work that costs less when more of it comes together. Who waits does not wait for that.
    explicit OperationQueue(int maxConcurrentOperationCount, ExceptionHandler handler = {},
                            std::chrono::milliseconds delay = {});
    OperationQueue(const OperationQueue&) = delete;
    OperationQueue& operator=(const OperationQueue&) = delete;
    // Drops what has not started and what running operations still add, waits for what is running.
    ~OperationQueue();

    void addOperation(Operation operation);

    // Adds the operation and waits as below. On a queue that runs one operation at a time and has
    // nothing else to do, no other thread takes part.
    void addOperationAndWait(Operation operation);

    // Returns when every operation added before and during the wait has finished. On a queue that
    // runs one operation at a time the caller lends its thread, so that waiting costs no change of
    // thread. Called from one of the queue's own operations it returns at once.
    void waitUntilAllOperationsAreFinished();

    // Operations waiting and running.
    size_t operationCount() const;

    // Whether the calling thread is running an operation of this queue.
    bool isCurrent() const;

  private:
    void work();
    void runNext(std::unique_lock<std::mutex>& lock);
    void waitUntilFinished(std::unique_lock<std::mutex>& lock);
    bool mayRun() const { return !waiting_.empty() && running_ < maxConcurrent_; }

    const int maxConcurrent_;
    const ExceptionHandler handler_;
    const std::chrono::milliseconds delay_;
    mutable std::mutex mutex_;
    std::condition_variable workAdded_;
    std::condition_variable finished_;
    std::deque<Operation> waiting_;
    std::vector<std::thread> threads_;
    int running_ = 0;
    int idleThreads_ = 0;
    bool closing_ = false;
};

}  // namespace larkspan
