#include "platform/linux/LinuxMainThread.h"
#include "platform/linux/TerminationSignals.h"
#include "support/Pump.h"

#include <vector>

#include <gmock/gmock.h>
#include <signal.h>

namespace larkspan::platform {
namespace {

using ::testing::UnorderedElementsAre;

// Puts the mask back, so that the test program can still be interrupted.
class TerminationSignalsTest : public ::testing::Test {
  protected:
    TerminationSignalsTest() { pthread_sigmask(SIG_SETMASK, nullptr, &mask_); }
    ~TerminationSignalsTest() override { pthread_sigmask(SIG_SETMASK, &mask_, nullptr); }

    LinuxMainThread mainThread_;
    std::vector<int> received_;

  private:
    sigset_t mask_{};
};

TEST_F(TerminationSignalsTest, EverySignalArrivesOnTheMainThreadAlsoOneFromBefore) {
    TerminationSignals::block();
    ASSERT_EQ(raise(SIGHUP), 0);
    const TerminationSignals signals(mainThread_, [&](int signal) {
        EXPECT_TRUE(mainThread_.isCurrent());
        received_.push_back(signal);
    });
    ASSERT_EQ(raise(SIGTERM), 0);
    ASSERT_EQ(raise(SIGINT), 0);
    ASSERT_TRUE(testing::pumpUntil(mainThread_, [&] { return received_.size() == 3; }));
    EXPECT_THAT(received_, UnorderedElementsAre(SIGHUP, SIGTERM, SIGINT));
}

TEST_F(TerminationSignalsTest, TheHandlerMayEndTheWatch) {
    std::unique_ptr<TerminationSignals> signals;
    signals = std::make_unique<TerminationSignals>(mainThread_, [&](int signal) {
        signals.reset();
        received_.push_back(signal);
    });
    ASSERT_EQ(raise(SIGINT), 0);
    ASSERT_TRUE(testing::pumpUntil(mainThread_, [&] { return !received_.empty(); }));
    EXPECT_FALSE(signals);
}

}  // namespace
}  // namespace larkspan::platform
