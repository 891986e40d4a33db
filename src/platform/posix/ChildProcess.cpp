#include "platform/posix/ChildProcess.h"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

constexpr int signalExitBase = 128;

bool moveAboveStandardStreams(FileDescriptor& descriptor) {
    if (descriptor.get() > STDERR_FILENO) return true;
    descriptor.reset(::fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    return static_cast<bool>(descriptor);
}

bool isPipeSignalPending() {
    sigset_t pending;
    return sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
}

// A pipe that nobody reads gives EPIPE and no signal, whatever the program does with the signal. An
// errno value, 0 on success.
int writeWithoutSignal(int descriptor, std::string_view text) {
    sigset_t pipeSignal;
    sigset_t before;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSignal, &before);
    const bool wasPending = isPipeSignalPending();
    const int failed = ::write(descriptor, text.data(), text.size()) < 0 ? errno : 0;
    int taken = 0;
    if (failed == EPIPE && !wasPending && isPipeSignalPending()) sigwait(&pipeSignal, &taken);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return failed;
}

}  // namespace

std::optional<Pipe> makePipe() {
    std::array<int, 2> ends;
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) return std::nullopt;
    Pipe made{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
    if (!moveAboveStandardStreams(made.reading) || !moveAboveStandardStreams(made.writing)) {
        return std::nullopt;
    }
    return made;
}

bool PipeReader::waitForInput() const {
    std::array<pollfd, 2> watched = {pollfd{end_.get(), POLLIN, 0}, pollfd{stopSignal_, POLLIN, 0}};
    while (::poll(watched.data(), watched.size(), -1) < 0) {
        if (errno != EINTR) return false;
    }
    return watched[1].revents == 0;
}

std::string PipeReader::read() {
    const std::lock_guard lock(mutex_);
    if (!end_ || !waitForInput()) return {};
    std::array<char, 65536> chunk;
    ssize_t got = 0;
    do {
        got = ::read(end_.get(), chunk.data(), chunk.size());
    } while (got < 0 && errno == EINTR);
    return got > 0 ? std::string(chunk.data(), static_cast<size_t>(got)) : std::string();
}

void PipeReader::close() {
    const std::lock_guard lock(mutex_);
    end_.reset();
}

void ChildState::started(pid_t processID) {
    const std::lock_guard lock(mutex_);
    processID_ = processID;
    changed_.notify_all();
}

// Looks without reaping, so that the number stays the child's until the end is noted.
void ChildState::waitForEnd() const {
    siginfo_t ignored = {};
    while (::waitid(P_PID, static_cast<id_t>(*processID_), &ignored, WEXITED | WNOWAIT) != 0) {
        if (errno != EINTR) return;  // somebody else has reaped it
    }
}

void ChildState::reapWhenEnded() {
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return processID_.has_value(); });
        if (*processID_ == 0) return;
    }
    waitForEnd();
    const std::lock_guard lock(mutex_);
    int status = 0;
    if (::waitpid(*processID_, &status, WNOHANG) == *processID_) {
        exitStatus_ = WIFSIGNALED(status) ? signalExitBase + WTERMSIG(status) : WEXITSTATUS(status);
    }
    ended_ = true;
    input_.reset();
    changed_.notify_all();
}

int ChildState::processID() {
    const std::lock_guard lock(mutex_);
    return processID_.value_or(0);
}

bool ChildState::isRunning() {
    const std::lock_guard lock(mutex_);
    return !ended_;
}

int ChildState::waitUntilExit() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return ended_; });
    return exitStatus_;
}

void ChildState::sendSignal(int number) {
    const std::lock_guard lock(mutex_);
    if (!ended_) ::kill(*processID_, number);
}

int ChildState::writeInput(std::string_view text) {
    const std::lock_guard lock(mutex_);
    if (text.size() > PIPE_BUF) return E2BIG;  // could be written in part
    if (!input_) return EPIPE;
    const int flags = ::fcntl(input_.get(), F_GETFL);
    if (flags < 0 || ::fcntl(input_.get(), F_SETFL, flags | O_NONBLOCK) != 0) return errno;
    return writeWithoutSignal(input_.get(), text);
}

void ChildState::endInput() {
    const std::lock_guard lock(mutex_);
    input_.reset();
}

ChildProcess::ChildProcess(std::shared_ptr<ChildState> state, Pipe stopSignal,
                           FileDescriptor output, FileDescriptor error)
    : state_(std::move(state)),
      stopSignal_(std::move(stopSignal)),
      output_(std::move(output), stopSignal_.reading.get()),
      error_(std::move(error), stopSignal_.reading.get()) {}

void ChildProcess::terminate() {
    state_->sendSignal(SIGTERM);
}

void ChildProcess::kill() {
    state_->sendSignal(SIGKILL);
}

void ChildProcess::stopReading() {
    {
        const std::lock_guard lock(stopMutex_);
        stopSignal_.writing.reset();
    }
    output_.close();
    error_.close();
}

}  // namespace larkspan::platform
