#include "platform/linux/TerminationSignals.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <sys/signalfd.h>

namespace larkspan::platform {
namespace {

sigset_t terminationSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&set, signal);
    return set;
}

}  // namespace

void TerminationSignals::block() {
    const sigset_t set = terminationSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

TerminationSignals::TerminationSignals(LinuxMainThread& mainThread, Handler handler)
    : handler_(std::move(handler)) {
    block();
    const sigset_t set = terminationSignals();
    descriptor_.reset(signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC));
    if (!descriptor_) throw std::system_error(errno, std::generic_category(), "signalfd");
    watch_ = mainThread.watchDescriptor(descriptor_.get(), [this] { drain(); });
}

void TerminationSignals::drain() {
    signalfd_siginfo info{};
    // One signal for each call of the loop: the handler may destroy this object.
    if (::read(descriptor_.get(), &info, sizeof info) != sizeof info) return;
    const Handler handler = handler_;
    handler(static_cast<int>(info.ssi_signo));
}

}  // namespace larkspan::platform
