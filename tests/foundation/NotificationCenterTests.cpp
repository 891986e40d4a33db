#include "foundation/NotificationCenter.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace larkspan {
namespace {

TEST(NotificationCenter, CallsTheObserversOfANameInOrder) {
    NotificationCenter center;
    std::vector<std::string> calls;
    const auto first = center.addObserver(
        "a", [&](const auto& n) { calls.push_back("first " + describe(n.userInfo)); });
    const auto second = center.addObserver("a", [&](const auto& n) { calls.push_back(n.name); });
    const auto other = center.addObserver("b", [&](const auto&) { calls.push_back("b"); });
    center.postNotification("a", Value::Dictionary{{"k", 1}});
    center.postNotification("nobody");
    EXPECT_EQ(calls, (std::vector<std::string>{"first {k = 1}", "a"}));
}

TEST(NotificationCenter, ADestroyedTokenEndsTheCalls) {
    NotificationCenter center;
    int calls = 0;
    auto token = center.addObserver("a", [&](const auto&) { ++calls; });
    center.postNotification("a");
    token.reset();
    center.postNotification("a");
    EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, ObserversMayPostAddAndRemove) {
    NotificationCenter center;
    int calls = 0;
    NotificationCenter::Token added;
    NotificationCenter::Token self;
    self = center.addObserver("a", [&](const auto&) {
        ++calls;
        added = center.addObserver("b", [&](const auto&) { calls += 10; });
        self.reset();
        center.postNotification("b");
    });
    center.postNotification("a");
    center.postNotification("a");
    EXPECT_EQ(calls, 11);
}

TEST(NotificationCenter, ManyThreadsMayPostAndObserve) {
    NotificationCenter center;
    std::atomic<int> calls{0};
    const auto lasting = center.addObserver("a", [&](const auto&) { ++calls; });
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 100; ++i) {
                const auto passing = center.addObserver("b", [](const auto&) {});
                center.postNotification("a");
                center.postNotification("b");
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(calls, 400);
}

}  // namespace
}  // namespace larkspan
