#include "platform/linux/LinuxAlerts.h"

#include "platform/linux/AlertText.h"
#include "platform/linux/Display.h"
#include "platform/posix/SystemCall.h"

#include <algorithm>
#include <array>
#include <system_error>
#include <thread>
#include <utility>

#include <termios.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

constexpr size_t longestLine = 4096;

std::string readToEnd(const std::function<std::string()>& readSome) {
    std::string all;
    for (std::string chunk = readSome(); !chunk.empty(); chunk = readSome()) {
        if (all.size() < longestLine) all += chunk;
    }
    return all;
}

// What an alert says when nobody can be asked.
AlertAnswer unasked(const AlertRequest& request) {
    return {.returnCode = alertDefaultReturn, .suppression = request.suppression};
}

}  // namespace

// One zenity that is up, and the thread that waits for its end.
class LinuxAlerts::ZenityWindow {
  public:
    ZenityWindow(AlertID shows, Answered toTell) : alert(shows), answered(std::move(toTell)) {}
    ZenityWindow(const ZenityWindow&) = delete;
    ZenityWindow& operator=(const ZenityWindow&) = delete;
    ~ZenityWindow() {
        if (process) {
            process->kill();
            process->stopReading();
        }
        if (thread.joinable()) thread.join();
    }

    const AlertID alert;
    Answered answered;
    std::shared_ptr<Process> process;
    std::thread thread;
};

AlertDevices AlertDevices::ofThisProcess() {
    return {.input = STDIN_FILENO,
            .output = STDERR_FILENO,
            .hasDisplay = larkspan::platform::hasDisplay()};
}

LinuxAlerts::LinuxAlerts(LinuxMainThread& mainThread, Processes& processes, AlertDevices devices)
    : mainThread_(mainThread), processes_(processes), devices_(std::move(devices)) {}

LinuxAlerts::~LinuxAlerts() = default;

// A process in the background of a terminal would be stopped as soon as it read from it.
bool LinuxAlerts::hasTerminal() const {
    if (::isatty(devices_.input) != 1 || ::isatty(devices_.output) != 1) return false;
    const pid_t foreground = ::tcgetpgrp(devices_.input);
    return foreground < 0 || foreground == ::getpgrp();
}

void LinuxAlerts::print(std::string_view text) const {
    while (!text.empty()) {
        const ssize_t written =
            retrying([&] { return ::write(devices_.output, text.data(), text.size()); });
        if (written <= 0) return;
        text.remove_prefix(static_cast<size_t>(written));
    }
}

AlertID LinuxAlerts::show(const AlertRequest& request, const std::shared_ptr<Window>&,
                          Answered answered) {
    const AlertID alert = ++last_;
    if (hasTerminal()) {
        waiting_.push_back({alert, request, std::move(answered)});
        if (waiting_.size() == 1) askNext();
    } else if (!devices_.hasDisplay || !openWindow(alert, request, answered)) {
        answered(unasked(request));
    }
    return alert;
}

void LinuxAlerts::orderOut(AlertID alert) {
    std::erase_if(windows_, [&](const auto& window) { return window->alert == alert; });
    const auto found = std::ranges::find(waiting_, alert, &Waiting::alert);
    if (found == waiting_.end()) return;
    const bool isAsked = found == waiting_.begin();
    waiting_.erase(found);
    if (!isAsked) return;
    print("\n");
    askNext();
}

// What was typed before the question is no answer to it.
void LinuxAlerts::askNext() {
    typed_.clear();
    if (waiting_.empty()) {
        inputWatch_.reset();
        return;
    }
    (void)::tcflush(devices_.input, TCIFLUSH);
    const AlertRequest& request = waiting_.front().request;
    print(terminalAlert(request) + terminalQuestion(request));
    if (!inputWatch_) {
        inputWatch_ = mainThread_.watchDescriptor(devices_.input, [this] { readTerminal(); });
    }
}

void LinuxAlerts::readTerminal() {
    std::array<char, 512> bytes{};
    const ssize_t count =
        retrying([&] { return ::read(devices_.input, bytes.data(), bytes.size()); });
    if (count < 0 && errno == EAGAIN) return;
    if (count <= 0) {
        print("\n");
        endQuestion(unasked(waiting_.front().request));
        return;
    }
    typed_.append(bytes.data(), static_cast<size_t>(count));
    const size_t end = typed_.find('\n');
    if (end == std::string::npos && typed_.size() < longestLine) return;
    const std::string line = std::exchange(typed_, {}).substr(0, end);
    understand(line);
}

void LinuxAlerts::understand(std::string_view line) {
    AlertRequest& request = waiting_.front().request;
    const ReadReply reply = readReply(request, line);
    switch (reply.kind) {
        case TerminalReply::button:
            endQuestion({.returnCode = reply.returnCode, .suppression = request.suppression});
            return;
        case TerminalReply::toggledSuppression:
            request.suppression = !*request.suppression;
            break;
        case TerminalReply::notUnderstood:
            print(terminalHint(request));
            break;
    }
    print(terminalQuestion(request));
}

void LinuxAlerts::endQuestion(const AlertAnswer& answer) {
    const Answered answered = std::move(waiting_.front().answered);
    waiting_.pop_front();
    askNext();
    answered(answer);
}

// False, with `answered` untouched, when zenity cannot be started.
bool LinuxAlerts::openWindow(AlertID alert, const AlertRequest& request, Answered& answered) {
    const auto process = processes_.launch({.launchPath = devices_.zenity,
                                            .arguments = zenityArguments(request),
                                            .output = Stream::pipe,
                                            .error = Stream::pipe});
    if (!process) return false;
    auto window = std::make_unique<ZenityWindow>(alert, answered);
    window->process = *process;
    const auto wait = [this, alert, request, zenity = *process,
                       alive = std::weak_ptr<const char>(alive_)] {
        const std::string output = readToEnd([&] { return zenity->readAvailableOutput(); });
        const std::string errors = readToEnd([&] { return zenity->readAvailableError(); });
        const int status = zenity->waitUntilExit();
        const AlertAnswer answer{.returnCode = zenityReturnCode(request, status, output, errors)};
        mainThread_.post([this, alert, answer, alive] {
            if (alive.lock()) windowEnded(alert, answer);
        });
    };
    try {
        window->thread = std::thread(wait);
    } catch (const std::system_error&) {
        return false;  // no threads are left; the window goes with its object
    }
    windows_.push_back(std::move(window));
    return true;
}

void LinuxAlerts::windowEnded(AlertID alert, const AlertAnswer& answer) {
    const auto found =
        std::ranges::find_if(windows_, [&](const auto& window) { return window->alert == alert; });
    if (found == windows_.end()) return;
    const Answered answered = std::move((*found)->answered);
    windows_.erase(found);
    answered(answer);
}

}  // namespace larkspan::platform
