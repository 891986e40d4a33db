#pragma once

#include "support/Programs.h"

#include <chrono>

namespace larkspan::soak {

// How long things may take: sanitizers make everything slower.
extern const std::chrono::seconds patience;

// The helper of a soak, which is killed, stopped and started again. Throws std::runtime_error when
// it does not behave.
class HelperUnderTest {
  public:
    explicit HelperUnderTest(testing::Programs& programs) : programs_(programs) {}

    void start();
    void waitUntilItAnswers();
    void killAndStart();
    // The second ends the first.
    void startSecond();
    void stopFor(std::chrono::milliseconds time);
    // Asks for a scan, and waits for its end.
    void scan();
    void expectRunning();
    // Asks it to end, and expects success.
    void end();

  private:
    testing::Programs& programs_;
    std::shared_ptr<platform::Process> helper_;
};

}  // namespace larkspan::soak
