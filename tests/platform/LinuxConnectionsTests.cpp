#include "RawSocket.h"
#include "platform/linux/LinuxConnections.h"
#include "support/Pump.h"
#include "support/TemporaryFolder.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <thread>

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace larkspan::platform {
namespace {

using larkspan::testing::pumpUntil;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using namespace std::chrono_literals;
using namespace std::string_literals;
using namespace std::string_view_literals;

constexpr std::string_view authentication = "\0AUTH EXTERNAL\r\nDATA\r\nBEGIN\r\n"sv;

size_t openDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return size_t(std::distance(begin(all), end(all)));
}

struct LinuxConnectionsTest : ::testing::Test {
    void serve(LinuxConnections::Options options) {
        options.socketFolder = folder.path() / "run";
        connections.emplace(mainThread, options);
        auto served =
            connections->serve("Helper", {.properties = {{"state", [] { return Value("fine"); }}}});
        ASSERT_TRUE(served) << served.error().description;
        service = std::move(served).value();
    }
    // Runs `work` as another process would, while the main thread serves.
    void elsewhere(const std::function<void()>& work) {
        std::thread thread([&] {
            work();
            mainThread.stop();
        });
        mainThread.run();
        thread.join();
    }
    void expectService() {
        elsewhere([&] {
            auto client = connections->connect("Helper", 10s);
            ASSERT_TRUE(client) << client.error().description;
            const auto state = (*client)->property("state", 10s);
            ASSERT_TRUE(state);
            EXPECT_EQ(*state, Value("fine"));
        });
    }
    Path socketPath() const { return folder.path() / "run/Helper.socket"; }

    larkspan::testing::TemporaryFolder folder;
    LinuxMainThread mainThread;
    std::optional<LinuxConnections> connections;
    std::unique_ptr<Connections::Service> service;
};

TEST_F(LinuxConnectionsTest, rubbishAndHangUpsHurtNobody) {
    serve({.authenticationLimit = 300ms});
    expectService();
    const size_t before = openDescriptors();
    const std::string begun(authentication);
    // A call's fixed part: little endian, call, no flags, version 1, length of the body, serial.
    const std::string header = "l\1\0\1"s;
    const std::string talks[] = {
        "",
        "\0"s,
        "GET / HTTP/1.1\r\n\r\n",
        std::string(100'000, 'x'),
        std::string(100'000, '\n'),
        "\0AUTH"s,
        "\0AUTH EXTERNAL zz\r\nBEGIN\r\n"s,
        "\0BEGIN\r\nBEGIN\r\n"s,
        begun,
        begun + "rubbish rubbish rubbish rubbish",
        begun + std::string(4096, '\0'),
        begun + header + "\xff\xff\xff\x7f\1\0\0\0\0\0\0\0"s,           // 2 GiB to come
        begun + header + "\0\0\0\x06\1\0\0\0\0\0\0\0"s,                 // 96 MiB to come
        begun + header + "\0\0\0\0\1\0\0\0\xff\xff\xff\xff"s + "more",  // header without end
        begun + header + "\0\0\0\0\1\0\0\0\x10\0\0\0\1\1o\0"s,          // ends in the middle
    };
    for (const std::string& talk : talks) {
        elsewhere([&] {
            const RawSocket stays(socketPath());
            const RawSocket goes(socketPath());
            ASSERT_TRUE(stays && goes);
            goes.send(talk);
            stays.send(talk);
            (void)stays.receiveUntil("never", 30);
        });
        expectService();
    }
    EXPECT_TRUE(pumpUntil(mainThread, [&] { return openDescriptors() <= before; }));
}

TEST_F(LinuxConnectionsTest, whoDoesNotAuthenticateIsSentAway) {
    serve({.authenticationLimit = 20ms});
    elsewhere([&] {
        const RawSocket silent(socketPath());
        const RawSocket slow(socketPath());
        slow.send("\0AUTH EX"sv);
        EXPECT_THAT(silent.receiveUntil("never"), EndsWith("(hung up)"));
        EXPECT_THAT(slow.receiveUntil("never"), EndsWith("(hung up)"));
    });
}

TEST_F(LinuxConnectionsTest, onlyTheKernelsWordCounts) {
    serve({});
    elsewhere([&] {
        const struct {
            std::string_view offer;
            const char* answer;
        } cases[] = {
            {"\0AUTH ANONYMOUS\r\n"sv, "REJECTED EXTERNAL\r\n"},
            {"\0AUTH DBUS_COOKIE_SHA1 30\r\n"sv, "REJECTED EXTERNAL\r\n"},
            {"\0AUTH\r\n"sv, "REJECTED EXTERNAL\r\n"},
        };
        for (const auto& [offer, answer] : cases) {
            const RawSocket caller(socketPath());
            caller.send(offer);
            EXPECT_EQ(caller.receiveUntil("\r\n"), answer) << offer;
        }
        const RawSocket caller(socketPath());
        caller.send(authentication);
        EXPECT_THAT(caller.receiveUntil("OK"), HasSubstr("OK"));
    });
}

TEST_F(LinuxConnectionsTest, anotherUserIsRefused) {
    if (::geteuid() != 0) GTEST_SKIP() << "takes root";
    serve({});
    for (const Path& path : {folder.path(), folder.path() / "run"}) ::chmod(path.c_str(), 0755);
    ::chmod(socketPath().c_str(), 0666);
    const pid_t stranger = ::fork();
    if (stranger == 0) {
        if (::setresgid(65534, 65534, 65534) != 0 || ::setresuid(65534, 65534, 65534) != 0) {
            ::_exit(2);
        }
        for (const std::string_view offer : {"\0AUTH EXTERNAL 3635353334\r\n"sv,  // the truth
                                             "\0AUTH EXTERNAL 30\r\n"sv, authentication}) {
            const RawSocket caller(socketPath());
            if (!caller) ::_exit(3);
            caller.send(offer);
            if (caller.receiveUntil("\r\n").find("OK") != std::string::npos) ::_exit(4);
        }
        ::_exit(0);
    }
    int status = -1;
    EXPECT_TRUE(pumpUntil(mainThread, [&] { return ::waitpid(stranger, &status, WNOHANG) != 0; }));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(LinuxConnectionsTest, theNumberOfConnectionsIsBounded) {
    serve({.authenticationLimit = 10s});
    std::vector<RawSocket> callers;
    elsewhere([&] {
        for (int i = 0; i < 64; ++i) callers.emplace_back(socketPath());
        const RawSocket tooMany(socketPath());
        EXPECT_EQ(tooMany.receiveUntil("never"), "(hung up)");
        EXPECT_EQ(callers.front().receiveUntil("never", 0), "(silence)");
        callers.clear();
    });
    EXPECT_TRUE(pumpUntil(mainThread, [&] {
        const RawSocket caller(socketPath());
        return caller.receiveUntil("never", 5) == "(silence)";
    })) << "there is room again";
}

// Leaves so many descriptors that nobody uses yet, for as long as it lives.
class DescriptorsLeft {
  public:
    explicit DescriptorsLeft(int count) {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        rlimit few = before_;
        few.rlim_cur = rlim_t(FileDescriptor(::dup(0)).get()) + rlim_t(count);
        ::setrlimit(RLIMIT_NOFILE, &few);
    }
    ~DescriptorsLeft() { ::setrlimit(RLIMIT_NOFILE, &before_); }

  private:
    rlimit before_{};
};

TEST_F(LinuxConnectionsTest, theLastDescriptorsAreNotForConnections) {
    serve({});
    const RawSocket caller(socketPath());
    const DescriptorsLeft few(10);
    larkspan::testing::pumpFor(mainThread, 5ms);
    EXPECT_EQ(caller.receiveUntil("never"), "(hung up)");
}

// Run by the test below in a process of its own, where nobody else wants descriptors.
TEST_F(LinuxConnectionsTest, DISABLED_restsWithoutDescriptors) {
    serve({});
    const RawSocket caller(socketPath());
    std::optional<DescriptorsLeft> none(0);
    const std::clock_t start = std::clock();
    larkspan::testing::pumpFor(mainThread, 100ms);
    const auto spent = Seconds(double(std::clock() - start) / CLOCKS_PER_SEC);
    none.reset();
    EXPECT_LT(spent, 50ms);
    expectService();
}

pid_t startTest(const std::string& name) {
    const pid_t process = ::fork();
    if (process == 0) {
        const std::string filter = "--gtest_filter=" + name;
        ::execl("/proc/self/exe", "platform_tests", "--gtest_also_run_disabled_tests",
                "--gtest_brief=1", filter.c_str(), nullptr);
        ::_exit(127);
    }
    return process;
}

TEST_F(LinuxConnectionsTest, withoutDescriptorsTheServiceDoesNotSpin) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer opens pipes of its own to look at objects";
#endif
    int status = -1;
    ::waitpid(startTest("LinuxConnectionsTest.DISABLED_restsWithoutDescriptors"), &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(LinuxConnectionsTest, aServerThatDoesNotSpeakHoldsNobodyUp) {
    const LinuxConnections::Options options{.socketFolder = folder.path() / "run"};
    LinuxConnections client(mainThread, options);
    auto listener = listenInFolder(*options.socketFolder, "Helper", 0s);
    ASSERT_TRUE(listener);
    const auto codeOf = [&](Seconds timeout) {
        const auto result = client.connect("Helper", timeout);
        return result ? 0 : result.error().code;
    };
    EXPECT_EQ(codeOf(10ms), ConnectionErrorCode::timedOut) << "nobody accepts";
    ASSERT_EQ(::listen(listener->socket.get(), 0), 0);
    EXPECT_EQ(codeOf(10ms), ConnectionErrorCode::timedOut) << "the queue is full";
    std::vector<FileDescriptor> accepted;
    while (accepted.empty() || accepted.back()) {
        accepted.emplace_back(::accept(listener->socket.get(), nullptr, nullptr));
    }
    std::thread rude([&] {
        pollfd wait{listener->socket.get(), POLLIN, 0};
        ::poll(&wait, 1, 10'000);
        const FileDescriptor closed(::accept(listener->socket.get(), nullptr, nullptr));
    });
    EXPECT_EQ(codeOf(10s), ConnectionErrorCode::refused) << "hangs up";
    rude.join();
    listener->socket.reset();
    EXPECT_EQ(codeOf(10s), ConnectionErrorCode::nobodyServes) << "a socket left behind";
}

TEST_F(LinuxConnectionsTest, namesThatDBusDoesNotKnowAreRefused) {
    serve({});
    for (const char* name : {"", "two words", "a.b", "../up", "1st"}) {
        EXPECT_FALSE(connections->serve(name, {})) << name;
        EXPECT_FALSE(connections->serve("Other", {.commands = {{name, [] {}}}})) << name;
        EXPECT_EQ(connections->connect(name, 1s).error().code, ConnectionErrorCode::nobodyServes);
        connections->postDistributedNotification(name);
    }
    expectService();
}

// Run by the test below in a process of its own.
TEST(LinuxConnectionsPeer, DISABLED_servesUntilKilled) {
    LinuxMainThread mainThread;
    LinuxConnections connections(mainThread,
                                 {.socketFolder = Path(std::getenv("LARKSPAN_TEST_FOLDER"))});
    const auto service = connections.serve(
        "Helper", {.commands = {{"hang", [] { std::this_thread::sleep_for(1min); }}}});
    ASSERT_TRUE(service) << service.error().description;
    mainThread.run();
}

struct LinuxConnectionsPeerTest : LinuxConnectionsTest {
    ~LinuxConnectionsPeerTest() override { kill(); }

    void start() {
        const Path run = folder.path() / "run";
        ::setenv("LARKSPAN_TEST_FOLDER", run.c_str(), 1);
        process = startTest("LinuxConnectionsPeer.DISABLED_servesUntilKilled");
        connections.emplace(mainThread,
                            LinuxConnections::Options{.socketFolder = run, .patience = 10s});
        const bool serves = pumpUntil(mainThread, [&] {
            auto result = connections->connect("Helper", 10s);
            if (result) client = std::move(result).value();
            return client != nullptr;
        });
        ASSERT_TRUE(serves);
    }
    void kill() {
        const pid_t victim = std::exchange(process, 0);
        if (victim == 0) return;
        ::kill(victim, SIGKILL);
        ::waitpid(victim, nullptr, 0);
    }

    pid_t process = 0;
    std::unique_ptr<Connections::Client> client;
};

TEST_F(LinuxConnectionsPeerTest, aKilledPeerEndsEveryWait) {
    start();
    std::thread killer([&] {
        std::this_thread::sleep_for(20ms);
        kill();
    });
    const auto error = client->call("hang", 10s);
    killer.join();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code, ConnectionErrorCode::connectionLost) << error->description;
    const auto waited = client->waitForNotification("Never", 10s);
    ASSERT_FALSE(waited);
    EXPECT_EQ(waited.error().code, ConnectionErrorCode::connectionLost);

    start();
    std::thread second([&] {
        std::this_thread::sleep_for(20ms);
        kill();
    });
    EXPECT_FALSE(client->waitForNotification("Never", 10s));
    second.join();
    EXPECT_EQ(connections->connect("Helper", 10s).error().code, ConnectionErrorCode::nobodyServes);
}

TEST_F(LinuxConnectionsPeerTest, theNameOfAKilledProcessIsTakenOver) {
    start();
    const LinuxConnections::Options impatient{.socketFolder = folder.path() / "run",
                                              .patience = 10ms};
    const auto early = LinuxConnections(mainThread, impatient).serve("Helper", {});
    ASSERT_FALSE(early);
    EXPECT_EQ(early.error().code, ConnectionErrorCode::alreadyServed) << early.error().description;
    std::thread killer([&] {
        std::this_thread::sleep_for(20ms);
        kill();
    });
    const auto late = connections->serve("Helper", {});
    killer.join();
    EXPECT_TRUE(late) << late.error().description;
}

}  // namespace
}  // namespace larkspan::platform
