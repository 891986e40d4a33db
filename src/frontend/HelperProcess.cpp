#include "frontend/HelperProcess.h"

#include "platform/Clock.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"

#include <utility>

namespace larkspan {
namespace {

constexpr size_t keptOutput = 4000;  // bytes
constexpr Seconds betweenLooks{0.02};

platform::Platform& current() {
    return platform::Platform::current();
}

// Adds a piece and lets the oldest whole lines go.
void append(std::string& output, const std::string& piece) {
    output += piece;
    if (output.size() <= keptOutput) return;
    const size_t line = output.find('\n', output.size() - keptOutput);
    output.erase(0, line == std::string::npos ? output.size() - keptOutput : line + 1);
}

}  // namespace

Result<std::unique_ptr<HelperProcess>> HelperProcess::start(const Path& executable,
                                                            std::function<void()> ended) {
    platform::LaunchRequest request;
    request.launchPath = executable;
    request.error = platform::Stream::pipe;
    auto process = current().processes.launch(request);
    if (!process) return process.error();
    return std::unique_ptr<HelperProcess>(new HelperProcess(*process, std::move(ended)));
}

HelperProcess::HelperProcess(std::shared_ptr<platform::Process> process,
                             std::function<void()> ended)
    : process_(std::move(process)),
      ended_(std::make_shared<std::function<void()>>(std::move(ended))) {
    const std::weak_ptr<std::function<void()>> callback = ended_;
    reader_ = std::thread([running = process_, output = output_, callback] {
        while (true) {
            const std::string piece = running->readAvailableError();
            if (piece.empty()) break;
            output->with([&](std::string& text) { append(text, piece); });
        }
        current().mainThread.post([callback] {
            if (const auto function = callback.lock()) (*function)();
        });
    });
}

HelperProcess::~HelperProcess() {
    process_->stopReading();
    if (reader_.joinable()) reader_.join();
}

std::string HelperProcess::lastOutput() {
    if (!process_->isRunning() && reader_.joinable()) reader_.join();
    return output_->copy();
}

std::optional<int> HelperProcess::waitUntilEnded(Seconds atMost) {
    platform::Clock& clock = current().clock;
    const Seconds begun = clock.uptime();
    while (process_->isRunning()) {
        if (clock.uptime() - begun >= atMost) return std::nullopt;
        clock.sleepFor(betweenLooks);
    }
    return process_->waitUntilExit();
}

}  // namespace larkspan
