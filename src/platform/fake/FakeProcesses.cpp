#include "platform/fake/FakeProcesses.h"

#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <utility>

namespace larkspan::platform {
namespace {

class FakeProcess final : public Process {
  public:
    FakeProcess(FakeProgram program, const LaunchRequest& request, int processID)
        : program_(std::move(program)),
          processID_(processID),
          hasInput_(request.input == Stream::pipe),
          output_{.rest = program_.output, .connected = request.output == Stream::pipe},
          error_{.rest = program_.error, .connected = request.error == Stream::pipe},
          running_(program_.runsUntilTerminated),
          exitStatus_(program_.exitStatus) {}

    int processID() const override { return processID_; }
    bool isRunning() override {
        const std::lock_guard lock(mutex_);
        return running_;
    }
    int waitUntilExit() override {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return !running_; });
        return exitStatus_;
    }
    void terminate() override {
        if (!program_.ignoresTermination) end(SIGTERM);
    }
    void kill() override { end(SIGKILL); }
    int writeInput(std::string_view) override { return hasInput_ && isRunning() ? 0 : EPIPE; }
    void endInput() override {}
    std::string readAvailableOutput() override { return read(output_); }
    std::string readAvailableError() override { return read(error_); }
    void stopReading() override {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
        changed_.notify_all();
    }

  private:
    struct FakePipe {
        std::string rest;
        bool connected = false;
    };

    void end(int signalNumber) {
        const std::lock_guard lock(mutex_);
        if (!running_) return;
        running_ = false;
        exitStatus_ = 128 + signalNumber;
        changed_.notify_all();
    }
    std::string read(FakePipe& pipe) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] {
            const bool open = running_ || program_.leavesPipesOpen;
            return stopped_ || !pipe.connected || !pipe.rest.empty() || !open;
        });
        return stopped_ || !pipe.connected ? std::string() : std::exchange(pipe.rest, {});
    }

    const FakeProgram program_;
    const int processID_;
    const bool hasInput_;
    std::mutex mutex_;
    std::condition_variable changed_;
    FakePipe output_;
    FakePipe error_;
    bool running_;
    int exitStatus_;
    bool stopped_ = false;
};

}  // namespace

Result<std::shared_ptr<Process>> FakeProcesses::launch(const LaunchRequest& request) {
    using Launched = Result<std::shared_ptr<Process>>;
    const std::string what = "Could not launch " + request.launchPath.str();
    if (!request.launchPath.isAbsolute()) return posixError(EINVAL, what);
    return scene_.with([&](Scene& scene) -> Launched {
        const auto program = scene.programs.find(request.launchPath);
        if (program == scene.programs.end()) return posixError(ENOENT, what);
        if (program->second.launchError) return *program->second.launchError;
        scene.launches.push_back(request);
        // Numbers that no real process has, should one of them ever leave the test.
        constexpr int firstProcessID = 1 << 24;
        const int processID = firstProcessID + static_cast<int>(scene.launches.size());
        scene.launched.push_back(
            std::make_shared<FakeProcess>(program->second, request, processID));
        return scene.launched.back();
    });
}

void FakeProcesses::setProgram(const Path& path, FakeProgram program) {
    scene_.with([&](Scene& scene) { scene.programs[path] = std::move(program); });
}

std::vector<LaunchRequest> FakeProcesses::launches() const {
    return scene_.with([](const Scene& scene) { return scene.launches; });
}

std::vector<std::shared_ptr<Process>> FakeProcesses::launched() const {
    return scene_.with([](const Scene& scene) { return scene.launched; });
}

}  // namespace larkspan::platform
