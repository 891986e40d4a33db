#include "platform/fake/FakeMainThread.h"
#include "platform/linux/LinuxMainThread.h"

#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace larkspan::platform {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

struct FakeLoop {
    FakeClock clock;
    FakeMainThread mainThread{clock};
};
struct LinuxLoop {
    LinuxMainThread mainThread;
};

template <class Loop>
class MainThreadContract : public ::testing::Test {
  protected:
    // Serves events until that many numbers are there.
    void serveUntil(size_t count) {
        for (int i = 0; i < 1000 && served.size() < count; ++i) loop.mainThread.serveEvent(10ms);
    }
    Loop loop;
    std::vector<int> served;
};
using Loops = ::testing::Types<FakeLoop, LinuxLoop>;
TYPED_TEST_SUITE(MainThreadContract, Loops);

TYPED_TEST(MainThreadContract, ServesOneEventAndWaitsNoLongerThanItShould) {
    auto& mainThread = this->loop.mainThread;
    mainThread.serveEvent(1ms);
    mainThread.post([&] { this->served.push_back(1); });
    std::thread([&] { mainThread.post([&] { this->served.push_back(2); }); }).join();
    const auto timer = mainThread.scheduleRepeating(20ms, [&] { this->served.push_back(3); });
    this->serveUntil(3);
    EXPECT_THAT(this->served, ElementsAre(1, 2, 3));
}

TYPED_TEST(MainThreadContract, ServesWhatIsPostedAmidAnEventEvenAfterStop) {
    auto& mainThread = this->loop.mainThread;
    mainThread.post([&] {
        mainThread.stop();
        mainThread.post([&] { this->served.push_back(1); });
        this->serveUntil(1);
        this->served.push_back(2);
    });
    mainThread.post([&] { this->served.push_back(3); });
    mainThread.run();
    ASSERT_GE(this->served.size(), 2U);
    EXPECT_NE(this->served.front(), 2) << "the posted work had to wait for its waiter";
}

TYPED_TEST(MainThreadContract, SaysWhenItHasEnded) {
    auto& mainThread = this->loop.mainThread;
    EXPECT_FALSE(mainThread.hasEnded());
    mainThread.stop();
    mainThread.run();
    EXPECT_FALSE(mainThread.hasEnded());
    mainThread.terminate();
    EXPECT_TRUE(mainThread.hasEnded());
}

}  // namespace
}  // namespace larkspan::platform
