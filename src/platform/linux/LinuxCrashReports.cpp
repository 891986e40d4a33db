#include "platform/linux/LinuxCrashReports.h"

#include "platform/posix/FixedText.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <ctime>

#include <execinfo.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

struct FatalSignal {
    int number;
    std::string_view name;
};
constexpr std::array fatalSignals = {
    FatalSignal{SIGSEGV, "SIGSEGV"}, FatalSignal{SIGBUS, "SIGBUS"},   FatalSignal{SIGILL, "SIGILL"},
    FatalSignal{SIGFPE, "SIGFPE"},   FatalSignal{SIGABRT, "SIGABRT"}, FatalSignal{SIGSYS, "SIGSYS"},
    FatalSignal{SIGTRAP, "SIGTRAP"},
};

constexpr size_t roomForDateAndProcess = 64;
constexpr unsigned longestReport = 10;  // seconds

// Made ready by begin() and only read afterwards: a handler can ask for no memory.
struct Ready {
    FixedText<PATH_MAX> pathStart;  // FOLDER/APPLICATION_
    FixedText<256> title;           // "APPLICATION VERSION"
    std::atomic<bool> reporting{false};
};
Ready ready;
alignas(16) std::array<char, 65536> signalStack;

void writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        text.remove_prefix(static_cast<size_t>(written));
    }
}

std::chrono::sys_seconds currentTime() {
    timespec now{};
    (void)::clock_gettime(CLOCK_REALTIME, &now);
    return std::chrono::sys_seconds(std::chrono::seconds(now.tv_sec));
}

int openReport(std::chrono::sys_seconds time) {
    FixedText<PATH_MAX + roomForDateAndProcess> path;
    path.append(ready.pathStart.view());
    path.appendTime(time, "-", "");
    path.append("_");
    path.appendNumber(static_cast<std::uint64_t>(::getpid()));
    path.append(".");
    path.append(crashReportExtension);
    return ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
}

bool wasSentByAProcess(const siginfo_t& info) {
    return info.si_code <= 0;
}

std::string_view nameOf(int signal) {
    for (const FatalSignal& fatal : fatalSignals) {
        if (fatal.number == signal) return fatal.name;
    }
    return "?";
}

void writeReport(int descriptor, std::chrono::sys_seconds time, const siginfo_t& info) {
    FixedText<1024> text;
    text.append(ready.title.view());
    text.append("\nDate: ");
    text.appendTime(time, " ", ":");
    text.append(" +0000\nProcess: ");
    text.appendNumber(static_cast<std::uint64_t>(::getpid()));
    text.append(", thread ");
    text.appendNumber(static_cast<std::uint64_t>(::gettid()));
    text.append("\nSignal: ");
    text.appendNumber(static_cast<std::uint64_t>(info.si_signo));
    text.append(" (");
    text.append(nameOf(info.si_signo));
    if (wasSentByAProcess(info)) {
        text.append("), sent by process ");
        text.appendNumber(static_cast<std::uint64_t>(info.si_pid));
    } else {
        text.append(") at address 0x");
        text.appendNumber(reinterpret_cast<std::uintptr_t>(info.si_addr), 1, 16);
    }
    text.append("\n\nBacktrace:\n");
    // Apart from the rest, which is to be there even when unwinding a broken stack fails.
    writeAll(descriptor, text.view());
    std::array<void*, 100> frames{};
    const int depth = ::backtrace(frames.data(), static_cast<int>(frames.size()));
    ::backtrace_symbols_fd(frames.data(), depth, descriptor);
}

// Another handler of the process is at it: it ends this thread with the process.
void waitForTheEnd() {
    for (unsigned second = 0; second <= longestReport; ++second) (void)::sleep(1);
    ::_exit(EXIT_FAILURE);
}

// An alarm ends the process should the disk, or a lock that the crash left held, hold the report
// up.
void limitTime() {
    struct sigaction byDefault {};
    byDefault.sa_handler = SIG_DFL;
    (void)::sigaction(SIGALRM, &byDefault, nullptr);
    sigset_t alarms;
    sigemptyset(&alarms);
    sigaddset(&alarms, SIGALRM);
    (void)::pthread_sigmask(SIG_UNBLOCK, &alarms, nullptr);
    (void)::alarm(longestReport);
}

// Dies of the same signal once this has returned: a fault strikes again at the instruction that
// made it, any other signal must be sent again.
void handle(int signal, siginfo_t* info, void*) {
    const int savedError = errno;
    if (ready.reporting.exchange(true)) waitForTheEnd();
    limitTime();
    const std::chrono::sys_seconds time = currentTime();
    const int report = openReport(time);
    if (report >= 0) {
        writeReport(report, time, *info);
        (void)::close(report);
    }
    struct sigaction byDefault {};
    byDefault.sa_handler = SIG_DFL;
    (void)::sigaction(signal, &byDefault, nullptr);
    if (wasSentByAProcess(*info) || signal == SIGTRAP || signal == SIGSYS) (void)::raise(signal);
    errno = savedError;
}

bool isUnattended(int signal) {
    struct sigaction present {};
    return ::sigaction(signal, nullptr, &present) == 0 && (present.sa_flags & SA_SIGINFO) == 0 &&
           present.sa_handler == SIG_DFL;
}

std::optional<Error> useSignalStack() {
    stack_t stack{};
    stack.ss_sp = signalStack.data();
    stack.ss_size = signalStack.size();
    if (::sigaltstack(&stack, nullptr) == 0) return std::nullopt;
    return posixError(errno, "sigaltstack");
}

std::optional<Error> prepare(const CrashReportForm& form) {
    const std::string prefix = form.application + "_";
    const std::string start = (form.folder / prefix).str();
    const bool isName =
        !form.application.empty() &&
        form.application.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
    if (!isName || !form.folder.isAbsolute()) return posixError(EINVAL, start);
    if (start.size() + roomForDateAndProcess > PATH_MAX ||
        prefix.size() + roomForDateAndProcess > NAME_MAX) {
        return posixError(ENAMETOOLONG, start);
    }
    ready.pathStart.append(start);
    ready.title.append(form.application);
    ready.title.append(" ");
    ready.title.append(form.version);
    return std::nullopt;
}

}  // namespace

std::optional<Error> LinuxCrashReports::begin(const CrashReportForm& form) {
    if (auto error = prepare(form)) return error;
    if (checkersReportCrashes) return std::nullopt;
    if (auto error = useSignalStack()) return error;
    // The first call loads a library, which must not happen in a handler.
    std::array<void*, 1> frame{};
    (void)::backtrace(frame.data(), 1);

    struct sigaction action {};
    action.sa_sigaction = handle;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    // A fault in the handler itself ends the process at once.
    for (const FatalSignal& fatal : fatalSignals) sigaddset(&action.sa_mask, fatal.number);
    for (const FatalSignal& fatal : fatalSignals) {
        if (isUnattended(fatal.number)) (void)::sigaction(fatal.number, &action, nullptr);
    }
    return std::nullopt;
}

}  // namespace larkspan::platform
