#include "foundation/OperationQueue.h"

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace larkspan {
namespace {

using namespace std::chrono_literals;
constexpr auto deadline = 20s;

// Lets operations through one after another.
class Gate {
  public:
    void open() { opened_.set_value(); }
    bool wait() const { return future_.wait_for(deadline) == std::future_status::ready; }

  private:
    std::promise<void> opened_;
    std::shared_future<void> future_ = opened_.get_future().share();
};

TEST(OperationQueue, RunsOneAtATimeInOrder) {
    OperationQueue queue(1);
    std::vector<int> order;  // needs no lock: one operation at a time
    for (int i = 0; i < 1000; ++i) queue.addOperation([&order, i] { order.push_back(i); });
    queue.waitUntilAllOperationsAreFinished();
    ASSERT_EQ(order.size(), 1000U);
    for (int i = 0; i < 1000; ++i) EXPECT_EQ(order[static_cast<size_t>(i)], i);
    EXPECT_EQ(queue.operationCount(), 0U);
}

TEST(OperationQueue, RunsAsManyAtOnceAsAllowedAndNoMore) {
    OperationQueue queue(3);
    std::atomic<int> running{0};
    std::atomic<int> most{0};
    Gate threeRun;
    for (int i = 0; i < 30; ++i) {
        queue.addOperation([&] {
            const int now = ++running;
            int before = most.load();
            while (before < now && !most.compare_exchange_weak(before, now)) {
            }
            if (now == 3 && before < 3) threeRun.open();
            EXPECT_TRUE(threeRun.wait());
            --running;
        });
    }
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(most, 3);
}

TEST(OperationQueue, ACountBelowOneIsOne) {
    OperationQueue queue(0);
    bool done = false;
    queue.addOperation([&] { done = true; });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(done);
}

TEST(OperationQueue, WaitingInAnOwnOperationReturnsAtOnce) {
    OperationQueue queue(1);
    bool done = false;
    queue.addOperation([&] {
        EXPECT_TRUE(queue.isCurrent());
        queue.addOperation([&] { done = true; });
        queue.waitUntilAllOperationsAreFinished();
        EXPECT_FALSE(done);
    });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_TRUE(done);
    EXPECT_FALSE(queue.isCurrent());
}

TEST(OperationQueue, AThreadThatLendsItselfRunsOperationsLikeTheQueuesOwn) {
    OperationQueue queue(1);
    std::set<std::thread::id> threads;
    int count = 0;
    for (int i = 0; i < 1000; ++i) {
        queue.addOperation([&] {
            EXPECT_TRUE(queue.isCurrent());
            queue.waitUntilAllOperationsAreFinished();
            threads.insert(std::this_thread::get_id());
            ++count;
        });
    }
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(count, 1000);
    threads.erase(std::this_thread::get_id());
    EXPECT_LE(threads.size(), 1U);
    EXPECT_FALSE(queue.isCurrent());
}

TEST(OperationQueue, AddingAndWaitingNeedsNoOtherThread) {
    OperationQueue queue(1);
    std::thread::id thread;
    queue.addOperationAndWait([&] { thread = std::this_thread::get_id(); });
    EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST(OperationQueue, AddingAndWaitingKeepsTheOrder) {
    for (const int maxConcurrent : {1, 3}) {
        OperationQueue queue(maxConcurrent);
        std::atomic<int> finished = 0;
        std::vector<int> before;
        for (int i = 0; i < 20; ++i) {
            queue.addOperation([&] { ++finished; });
            queue.addOperationAndWait(
                [&] { before.push_back(maxConcurrent == 1 ? +finished : i); });
            EXPECT_EQ(finished, i + 1);
        }
        for (int i = 0; i < 20; ++i) EXPECT_EQ(before[size_t(i)], maxConcurrent == 1 ? i + 1 : i);
        queue.addOperationAndWait([&] {
            queue.addOperationAndWait([&] { ++finished; });
            // Another thread may have run it meanwhile where there is one.
            if (maxConcurrent == 1) {
                EXPECT_EQ(finished, 20);
            }
        });
        EXPECT_EQ(finished, 21);
    }
}

TEST(OperationQueue, AnExceptionIsReportedAndTheQueueGoesOn) {
    std::vector<std::string> reasons;
    OperationQueue queue(1, [&](const std::string& reason) { reasons.push_back(reason); });
    bool done = false;
    queue.addOperation([] { throw std::runtime_error("disk on fire"); });
    queue.addOperation([] { throw 42; });
    queue.addOperation([&] { done = true; });
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(reasons, (std::vector<std::string>{"disk on fire", "unknown exception"}));
    EXPECT_TRUE(done);
}

TEST(OperationQueue, DestructionDropsWhatWaitsAndFinishesWhatRuns) {
    std::atomic<int> finished{0};
    Gate running;
    Gate proceed;
    std::thread opener;
    auto captured = std::make_shared<int>(0);
    {
        OperationQueue queue(1);
        queue.addOperation([&] {
            running.open();
            EXPECT_TRUE(proceed.wait());
            queue.addOperation([&] { ++finished; });
            ++finished;
        });
        queue.addOperation([&finished, captured] { ++finished; });
        ASSERT_TRUE(running.wait());
        // The queue drops what waits before it waits for what runs.
        opener = std::thread([&] {
            const auto until = std::chrono::steady_clock::now() + deadline;
            while (captured.use_count() > 1 && std::chrono::steady_clock::now() < until) {
                std::this_thread::yield();
            }
            proceed.open();
        });
    }
    opener.join();
    EXPECT_EQ(finished, 1);
}

TEST(OperationQueue, ADelayHoldsUpNobodyWhoWaits) {
    constexpr auto delay = std::chrono::hours(1);
    std::atomic<int> finished{0};
    {
        OperationQueue queue(1, {}, delay);
        queue.addOperation([&] { ++finished; });
        queue.waitUntilAllOperationsAreFinished();
        EXPECT_EQ(finished, 1);
        queue.addOperationAndWait([&] { ++finished; });
        EXPECT_EQ(finished, 2);
        queue.addOperation([&] { ++finished; });
    }
    EXPECT_EQ(finished, 2) << "nor the end of the queue";
}

TEST(OperationQueue, ADelayedOperationRunsByItself) {
    OperationQueue queue(1, {}, 1ms);
    for (int i = 0; i < 3; ++i) {
        Gate next;
        queue.addOperation([&] { next.open(); });
        EXPECT_TRUE(next.wait());
    }
}

TEST(OperationQueue, ManyThreadsMayAddAndWait) {
    OperationQueue serial(1);
    OperationQueue wide(4);
    int serialCount = 0;
    std::atomic<int> wideCount{0};
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                serial.addOperation([&] { ++serialCount; });
                wide.addOperation([&] { ++wideCount; });
                if (i % 50 == 0) serial.waitUntilAllOperationsAreFinished();
            }
            wide.waitUntilAllOperationsAreFinished();
        });
    }
    for (std::thread& thread : threads) thread.join();
    serial.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(serialCount, 800);
    EXPECT_EQ(wideCount, 800);
}

}  // namespace
}  // namespace larkspan
