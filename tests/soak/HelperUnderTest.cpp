#include "soak/HelperUnderTest.h"

#include <stdexcept>
#include <thread>

#include <signal.h>

namespace larkspan::soak {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int slowness = 2;
#else
constexpr int slowness = 1;
#endif

}  // namespace

// What could not be watched for a moment is looked through 30 seconds later.
const std::chrono::seconds patience{50 * slowness};

void HelperUnderTest::start() {
    helper_ = programs_.launchHelper();
}

void HelperUnderTest::waitUntilItAnswers() {
    const std::string processID = std::to_string(helper_->processID());
    testing::ProgramResult status;
    const bool answers = testing::waitFor(
        [&] {
            expectRunning();
            status = programs_.larkspan({"status", "--json"});
            return status.output.find(processID) != std::string::npos;
        },
        patience);
    if (!answers) {
        throw std::runtime_error("the helper does not answer: " + status.error);
    }
}

void HelperUnderTest::expectRunning() {
    if (helper_->isRunning()) return;
    throw std::runtime_error("the helper ended by itself, with " +
                             std::to_string(helper_->waitUntilExit()));
}

void HelperUnderTest::killAndStart() {
    expectRunning();
    ::kill(helper_->processID(), SIGKILL);
    (void)helper_->waitUntilExit();
    start();
}

void HelperUnderTest::startSecond() {
    const auto first = helper_;
    start();
    const bool ended = testing::waitFor([&] { return !first->isRunning(); }, patience);
    if (!ended) throw std::runtime_error("the second helper did not end the first");
}

void HelperUnderTest::stopFor(std::chrono::milliseconds time) {
    ::kill(helper_->processID(), SIGSTOP);
    std::this_thread::sleep_for(time);
    ::kill(helper_->processID(), SIGCONT);
}

void HelperUnderTest::scan() {
    testing::ProgramResult result;
    const bool done = testing::waitFor(
        [&] {
            result = programs_.larkspan({"scan", "--wait"});
            return result.status == 0;
        },
        patience);
    if (!done) throw std::runtime_error("a scan fails: " + result.output + result.error);
}

void HelperUnderTest::end() {
    expectRunning();
    helper_->terminate();
    const bool ended = testing::waitFor([&] { return !helper_->isRunning(); }, patience);
    if (!ended) throw std::runtime_error("the helper does not end when asked");
    const int status = helper_->waitUntilExit();
    if (status != 0) throw std::runtime_error("the helper ended with " + std::to_string(status));
}

}  // namespace larkspan::soak
