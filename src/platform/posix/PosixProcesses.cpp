#include "platform/posix/PosixProcesses.h"

#include "foundation/Text.h"
#include "platform/posix/ChildProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

extern char** environ;

namespace larkspan::platform {
namespace {

// What every pipe holds without a reader.
constexpr size_t largestInputText = 4096;

// The two sides of the three standard streams; without a pipe a side is no descriptor.
struct StandardPipes {
    std::array<FileDescriptor, 3> childSide;
    std::array<FileDescriptor, 3> ourSide;

    // An errno value, 0 on success.
    int open(int number, Stream stream) {
        if (stream != Stream::pipe) return 0;
        std::optional<Pipe> pipe = makePipe();
        if (!pipe) return errno;
        const bool input = number == STDIN_FILENO;
        const auto at = static_cast<size_t>(number);
        childSide[at] = std::move(input ? pipe->reading : pipe->writing);
        ourSide[at] = std::move(input ? pipe->writing : pipe->reading);
        return 0;
    }

    // Leaves the text in the pipe, which takes that much before anybody reads, and closes our side.
    // An errno value, 0 on success.
    int fillInput(std::string_view text) {
        if (text.size() > largestInputText) return EFBIG;
        FileDescriptor writing = std::move(ourSide[STDIN_FILENO]);
        const ssize_t written = ::write(writing.get(), text.data(), text.size());
        if (written < 0) return errno;
        return static_cast<size_t>(written) == text.size() ? 0 : EIO;
    }
};

class FileActions {
  public:
    FileActions() { posix_spawn_file_actions_init(&actions_); }
    FileActions(const FileActions&) = delete;
    FileActions& operator=(const FileActions&) = delete;
    ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }

    int connect(int number, Stream stream, int childSide) {
        if (stream == Stream::inherit) return 0;
        if (stream == Stream::pipe) {
            return posix_spawn_file_actions_adddup2(&actions_, childSide, number);
        }
        const int mode = number == STDIN_FILENO ? O_RDONLY : O_WRONLY;
        return posix_spawn_file_actions_addopen(&actions_, number, "/dev/null", mode, 0);
    }
    posix_spawn_file_actions_t& get() { return actions_; }

  private:
    posix_spawn_file_actions_t actions_;
};

// Every signal at its default and none blocked, whatever this process does with them.
class SpawnAttributes {
  public:
    explicit SpawnAttributes(ProcessGroup group) {
        posix_spawnattr_init(&attributes_);
        sigset_t signals;
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        int flags = POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
        if (group == ProcessGroup::own) flags |= POSIX_SPAWN_SETPGROUP;
        posix_spawnattr_setpgroup(&attributes_, 0);
        posix_spawnattr_setflags(&attributes_, static_cast<short>(flags));
    }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }

    const posix_spawnattr_t& get() const { return attributes_; }

  private:
    posix_spawnattr_t attributes_;
};

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> commandLine(const LaunchRequest& request) {
    std::vector<std::string> texts = {request.launchPath.str()};
    texts.insert(texts.end(), request.arguments.begin(), request.arguments.end());
    return texts;
}

std::vector<std::string> environmentTexts(const LaunchRequest& request) {
    std::vector<std::string> texts;
    if (!request.environment) return texts;
    for (const auto& [name, value] : *request.environment)
        texts.push_back(joined({name, value}, "="));
    return texts;
}

bool holdsZeroByte(const std::vector<std::string>& texts) {
    return std::ranges::any_of(
        texts, [](const std::string& text) { return text.find('\0') != std::string::npos; });
}

// Gives the child's id in `processID`; an errno value, 0 on success.
int spawn(const LaunchRequest& request, FileActions& actions, pid_t& processID) {
    std::vector<std::string> arguments = commandLine(request);
    std::vector<std::string> environment = environmentTexts(request);
    if (!request.launchPath.isAbsolute() || holdsZeroByte(arguments) ||
        holdsZeroByte(environment)) {
        return EINVAL;
    }
    const SpawnAttributes attributes(request.group);
    const std::vector<char*> environmentPointers = pointers(environment);
    return ::posix_spawn(&processID, request.launchPath.c_str(), &actions.get(), &attributes.get(),
                         pointers(arguments).data(),
                         request.environment ? environmentPointers.data() : environ);
}

// False when the system gives no more threads.
bool startReaper(const std::shared_ptr<ChildState>& state) {
    try {
        // Detached, since the child may outlive every object of ours. It touches the state alone.
        std::thread([state] { state->reapWhenEnded(); }).detach();
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

}  // namespace

Result<std::shared_ptr<Process>> PosixProcesses::launch(const LaunchRequest& request) {
    const auto failure = [&](int errorNumber) {
        return posixError(errorNumber, "Could not launch " + request.launchPath.str());
    };
    const std::array<Stream, 3> streams = {request.inputText ? Stream::pipe : request.input,
                                           request.output, request.error};
    StandardPipes pipes;
    FileActions actions;
    for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) {
        const auto at = static_cast<size_t>(number);
        int error = pipes.open(number, streams[at]);
        if (error == 0) error = actions.connect(number, streams[at], pipes.childSide[at].get());
        if (error != 0) return failure(error);
    }
    if (request.inputText) {
        const int error = pipes.fillInput(request.inputText->text());
        if (error != 0) return failure(error);
    }
    if (const int error = addClosingOfOthers(actions.get()); error != 0) return failure(error);
    std::optional<Pipe> stopSignal = makePipe();
    if (!stopSignal) return failure(errno);

    // The thread comes first: a child without one could neither be reaped nor taken back.
    auto state = std::make_shared<ChildState>(std::move(pipes.ourSide[STDIN_FILENO]));
    if (!startReaper(state)) return failure(EAGAIN);
    pid_t processID = 0;
    const int error = spawn(request, actions, processID);
    state->started(error == 0 ? processID : 0);
    if (error != 0) return failure(error);
    return std::shared_ptr<Process>(std::make_shared<ChildProcess>(
        std::move(state), std::move(*stopSignal), std::move(pipes.ourSide[STDOUT_FILENO]),
        std::move(pipes.ourSide[STDERR_FILENO])));
}

}  // namespace larkspan::platform
