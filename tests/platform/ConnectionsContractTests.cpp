#include "platform/fake/FakeConnections.h"
#include "platform/fake/FakeMainThread.h"
#include "platform/linux/LinuxConnections.h"
#include "support/TemporaryFolder.h"

#include <atomic>
#include <functional>
#include <limits>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>

namespace larkspan::platform {
namespace {

using namespace std::chrono_literals;

struct FakeWorld {
    FakeClock clock;
    FakeMainThread mainThread{clock};
    FakeConnections server{mainThread};
    FakeConnections other{mainThread, server};
};

struct LinuxWorld {
    larkspan::testing::TemporaryFolder folder;
    LinuxMainThread mainThread;
    LinuxConnections::Options options{.socketFolder = folder.path() / "run", .patience = 20ms};
    LinuxConnections server{mainThread, options};
    LinuxConnections other{mainThread, options};
};

template <class World>
struct ConnectionsContract : ::testing::Test {
    // Runs `work` as another process would, while the main thread serves.
    void elsewhere(const std::function<void()>& work) {
        std::thread thread([&] {
            work();
            world.mainThread.stop();
        });
        world.mainThread.run();
        thread.join();
    }
    std::unique_ptr<Connections::Client> connected() {
        std::unique_ptr<Connections::Client> client;
        elsewhere([&] {
            auto result = world.other.connect("Helper", 10s);
            ASSERT_TRUE(result) << result.error().description;
            client = std::move(result).value();
        });
        return client;
    }
    std::unique_ptr<Connections::Service> served(ServedObject object = {}) {
        auto service = world.server.serve("Helper", std::move(object));
        EXPECT_TRUE(service);
        return service ? std::move(service).value() : nullptr;
    }

    World world;
};

using Worlds = ::testing::Types<FakeWorld, LinuxWorld>;
TYPED_TEST_SUITE(ConnectionsContract, Worlds);

MATCHER_P(hasCode, code, "") {
    *result_listener << arg.domain << " " << arg.code << " " << arg.description;
    return arg.is(connectionErrorDomain, code);
}

TYPED_TEST(ConnectionsContract, commandsHaveRunOnTheMainThreadWhenTheCallReturns) {
    std::atomic<int> runs = 0;
    bool onMainThread = false;
    const auto service = this->served({.commands = {{"scan", [&] {
                                                         onMainThread =
                                                             this->world.mainThread.isCurrent();
                                                         ++runs;
                                                     }}}});
    const auto client = this->connected();
    this->elsewhere([&] {
        EXPECT_EQ(client->call("scan", 10s), std::nullopt);
        EXPECT_EQ(runs, 1);
        EXPECT_EQ(client->call("scan", 10s), std::nullopt);
        EXPECT_EQ(runs, 2);
    });
    EXPECT_TRUE(onMainThread);
}

TYPED_TEST(ConnectionsContract, whatIsNotServedIsRefused) {
    int runs = 0;
    const auto service = this->served(
        {.commands = {{"scan", [&] { ++runs; }},
                      {"failing", [] { throw std::runtime_error("out of order"); }}},
         .properties = {{"state", [] { return Value("idle"); }},
                        {"broken", []() -> Value { throw std::runtime_error("no state"); }}}});
    const auto client = this->connected();
    this->elsewhere([&] {
        for (const char* name : {"unknown", "", "no name", "state", "failing", "Get", "\xff/"}) {
            const auto error = client->call(name, 10s);
            ASSERT_TRUE(error) << name;
            EXPECT_THAT(*error, hasCode(ConnectionErrorCode::refused)) << name;
        }
        for (const char* name : {"unknown", "", "scan", "broken", "\xff"}) {
            const auto value = client->property(name, 10s);
            ASSERT_FALSE(value) << name;
            EXPECT_THAT(value.error(), hasCode(ConnectionErrorCode::refused)) << name;
        }
        EXPECT_THAT(client->call("failing", 10s).value().description,
                    ::testing::HasSubstr("out of order"));
        EXPECT_TRUE(client->property("state", 10s)) << "the service goes on";
    });
    EXPECT_EQ(runs, 0);
}

TYPED_TEST(ConnectionsContract, everyKindOfFactArrivesUnchanged) {
    const Value::Array facts = {
        true,
        false,
        std::numeric_limits<long>::min(),
        std::numeric_limits<long>::max(),
        0.1,
        "",
        "Füße 🎬",
        Data{std::string("\0\xff", 2)},
        Data{},
        Date::min(),
        Date::max(),
        dateFromUnixTime(-1, 999'999'999),
        dateFromUnixTime(1'700'000'000, 123'456'789),
        Value::Array{},
        Value::Array{1, "two", Value::Array{}},
        Value::Dictionary{},
        Value::Dictionary{{"folders", Value::Array{Value::Dictionary{{"path", "/a"}}}}, {"", 1}},
    };
    std::atomic<size_t> next = 0;
    const auto service = this->served({.properties = {{"fact", [&] { return facts.at(next); }}}});
    const auto client = this->connected();
    this->elsewhere([&] {
        for (; next < facts.size(); ++next) {
            const auto value = client->property("fact", 10s);
            ASSERT_TRUE(value) << describe(facts[next]) << value.error().description;
            EXPECT_EQ(*value, facts[next]) << describe(*value);
        }
    });
}

TYPED_TEST(ConnectionsContract, oneProcessServesANameUntilItStops) {
    this->elsewhere([&] {
        const auto nobody = this->world.other.connect("Helper", 10s);
        ASSERT_FALSE(nobody);
        EXPECT_THAT(nobody.error(), hasCode(ConnectionErrorCode::nobodyServes));
    });
    auto service = this->served();
    const auto another = this->world.server.serve("Another", {});
    EXPECT_TRUE(another);
    const auto second = this->world.other.serve("Helper", {});
    ASSERT_FALSE(second);
    EXPECT_THAT(second.error(), hasCode(ConnectionErrorCode::alreadyServed));
    service.reset();
    EXPECT_FALSE(this->world.other.connect("Helper", 10s));
    EXPECT_TRUE(this->world.other.serve("Helper", {}));
}

TYPED_TEST(ConnectionsContract, notificationsReachWhoeverIsConnectedThen) {
    const auto service = this->served();
    this->world.server.postDistributedNotification("Saved");
    const auto first = this->connected();
    const auto second = this->connected();
    this->elsewhere([&] {
        EXPECT_FALSE(first->waitForNotification("Saved", 5ms).value()) << "posted before";
        this->world.other.postDistributedNotification("Saved");
        this->world.server.postDistributedNotification("Other");
        this->world.server.postDistributedNotification("Saved");
        this->world.server.postDistributedNotification("Saved");
        for (const auto& client : {first.get(), second.get()}) {
            EXPECT_TRUE(client->waitForNotification("Saved", 10s).value());
            EXPECT_TRUE(client->waitForNotification("Saved", 10s).value());
            EXPECT_FALSE(client->waitForNotification("Saved", 5ms).value());
            EXPECT_TRUE(client->waitForNotification("Other", 10s).value());
        }
    });
}

TYPED_TEST(ConnectionsContract, aWaitEndsWhenANotificationComes) {
    const auto service =
        this->served({.commands = {{"scan", [&] {
                                        this->world.mainThread.post([&] {
                                            this->world.server.postDistributedNotification("Saved");
                                        });
                                    }}}});
    const auto client = this->connected();
    this->elsewhere([&] {
        EXPECT_EQ(client->call("scan", 10s), std::nullopt);
        EXPECT_TRUE(client->waitForNotification("Saved", 10s).value());
    });
}

TYPED_TEST(ConnectionsContract, clientsLearnThatTheServiceHasEnded) {
    std::unique_ptr<Connections::Service> service;
    service =
        this->served({.commands = {{"quit", [&] {
                                        this->world.mainThread.post([&] {
                                            this->world.server.postDistributedNotification("Saved");
                                            service.reset();
                                        });
                                    }}}});
    const auto client = this->connected();
    this->elsewhere([&] {
        EXPECT_EQ(client->call("quit", 10s), std::nullopt);
        const auto waited = client->waitForNotification("Never", 10s);
        ASSERT_FALSE(waited);
        EXPECT_THAT(waited.error(), hasCode(ConnectionErrorCode::connectionLost));
        const auto last = client->waitForNotification("Saved", 10s);
        ASSERT_TRUE(last) << "what was posted before the end arrives";
        EXPECT_TRUE(*last);
        EXPECT_THAT(client->call("quit", 10s).value(),
                    hasCode(ConnectionErrorCode::connectionLost));
        EXPECT_THAT(client->property("x", 10s).error(),
                    hasCode(ConnectionErrorCode::connectionLost));
    });
}

TYPED_TEST(ConnectionsContract, aCommandMayEndItsOwnService) {
    std::unique_ptr<Connections::Service> service;
    service = this->served({.commands = {{"quit", [&] { service.reset(); }}}});
    const auto client = this->connected();
    this->elsewhere([&] {
        // Whether the answer still gets out is open; that there is an end is not.
        (void)client->call("quit", 10s);
        EXPECT_THAT(client->call("quit", 10s).value(),
                    hasCode(ConnectionErrorCode::connectionLost));
    });
}

TYPED_TEST(ConnectionsContract, callersDoNotWaitLongerThanTheyWant) {
    std::atomic<bool> gaveUp = false;
    const auto service = this->served({.commands = {{"slow", [&] { gaveUp.wait(false); }}},
                                       .properties = {{"fact", [] { return Value(1); }}}});
    const auto client = this->connected();
    this->elsewhere([&] {
        EXPECT_THAT(client->call("slow", 5ms).value(), hasCode(ConnectionErrorCode::timedOut));
        EXPECT_THAT(client->property("fact", 5ms).error(), hasCode(ConnectionErrorCode::timedOut));
        gaveUp = true;
        gaveUp.notify_all();
        EXPECT_TRUE(client->property("fact", 10s)) << "late answers are not mixed up";
    });
}

TYPED_TEST(ConnectionsContract, manyThreadsPostAtOnce) {
    const auto service = this->served();
    const auto client = this->connected();
    constexpr int each = 100;
    const auto post = [&] {
        for (int i = 0; i < each; ++i) this->world.server.postDistributedNotification("Saved");
    };
    this->elsewhere([&] {
        std::thread first(post);
        std::thread second(post);
        const auto passer = this->world.other.connect("Helper", 10s);  // and goes away meanwhile
        EXPECT_TRUE(passer);
        for (int i = 0; i < 2 * each; ++i) {
            ASSERT_TRUE(client->waitForNotification("Saved", 10s).value()) << i;
        }
        first.join();
        second.join();
    });
}

}  // namespace
}  // namespace larkspan::platform
