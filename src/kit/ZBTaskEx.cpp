#include "kit/ZBTaskEx.h"

#include "foundation/Text.h"
#include "kit/TaskWatchdog.h"
#include "kit/ZBFileManager.h"
#include "kit/ZBLog.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace larkspan {

using platform::LaunchRequest;
using platform::Platform;
using platform::Process;
using platform::Stream;

namespace {

// What a process that was asked to end may take for it before it is killed.
constexpr Seconds terminationGrace = std::chrono::seconds(2);

enum class Print { no, yes };

bool mayBeLaunched(const Path& path) {
    auto& files = Platform::current().files;
    const bool isPackage = ZBFileManager::isFilePackage(path) && files.isFolder(path);
    if (files.isExecutable(path) && !isPackage) return true;
    ZBLog::appendLogAndPrint("Error: %@ is not executable", path);
    return false;
}

void logException(const Path& path, const std::string& reason, Print print) {
    if (print == Print::yes) {
        ZBLog::appendLogAndPrint("Exception running task %@: %@", path, reason);
    } else {
        ZBLog::appendLog("Exception running task %@: %@", path, reason);
    }
}

// The process when it could be started; else null, and the reason is logged.
std::shared_ptr<Process> launch(const LaunchRequest& request, RunningTask* task, Print print) {
    RunningTask unreached;
    auto launched = (task ? *task : unreached).launch(request);
    if (launched) return *launched;
    logException(request.launchPath, launched.error().description, print);
    return nullptr;
}

std::string readToEnd(Process& process, std::string (Process::*readAvailable)()) {
    std::string all;
    for (;;) {
        const std::string chunk = (process.*readAvailable)();
        if (chunk.empty()) return all;
        all += chunk;
    }
}

std::optional<std::string> decoded(const std::optional<Data>& data, TextEncoding encoding) {
    if (!data) return "";
    const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    const bool decodes = encoding == TextEncoding::ascii ? std::ranges::all_of(data->bytes, isAscii)
                                                         : isValidUtf8(data->bytes);
    if (!decodes) return std::nullopt;
    return data->bytes;
}

std::chrono::seconds wholeSeconds(Seconds timeout) {
    constexpr Seconds longest = std::chrono::hours(24 * 365);
    const bool positive = timeout > Seconds::zero();  // false, too, for what is no number
    return std::chrono::duration_cast<std::chrono::seconds>(positive ? std::min(timeout, longest)
                                                                     : Seconds::zero());
}

// Runs `run` with a task that is held to the time-out.
template <class Value>
Value underTimeout(const Path& path, Seconds timeout, Value whenNotRun,
                   const std::function<Value(RunningTask*)>& run) {
    try {
        const auto task = std::make_shared<RunningTask>();
        const TaskWatchdog watchdog(task, wholeSeconds(timeout), terminationGrace);
        Value result = run(task.get());
        task->clear();
        return result;
    } catch (const std::system_error& error) {
        logException(path, error.what(), Print::yes);
        return whenNotRun;
    }
}

}  // namespace

bool ZBTaskEx::runTask(const Path& path, const Arguments& arguments, RunningTask* task) {
    if (!mayBeLaunched(path)) return false;
    const LaunchRequest request{.launchPath = path, .arguments = arguments};
    const auto process = launch(request, task, Print::no);
    if (!process) return false;
    (void)process->waitUntilExit();
    return true;
}

void ZBTaskEx::runTask(const Path& path, const Arguments& arguments, Seconds timeout) {
    (void)underTimeout<bool>(path, timeout, false,
                             [&](RunningTask* task) { return runTask(path, arguments, task); });
}

void ZBTaskEx::runTaskAndReturn(const Path& path, const Arguments& arguments) {
    if (!mayBeLaunched(path)) return;
    (void)launch({.launchPath = path, .arguments = arguments}, nullptr, Print::no);
}

std::shared_ptr<Process> ZBTaskEx::runLastingTaskAndReturn(const Path& path,
                                                           const Arguments& arguments) {
    if (!mayBeLaunched(path)) return nullptr;
    return launch({.launchPath = path,
                   .arguments = arguments,
                   .output = Stream::pipe,
                   .group = platform::ProcessGroup::own},
                  nullptr, Print::no);
}

std::optional<Data> ZBTaskEx::dataFromTask(const Path& path, const Arguments& arguments,
                                           const DataTaskOptions& options) {
    if (!mayBeLaunched(path)) return std::nullopt;
    const bool collects = options.logOutput == LogOutput::yes;
    const LaunchRequest request{.launchPath = path,
                                .arguments = arguments,
                                .environment = options.environment,
                                .input = Stream::pipe,
                                .output = collects ? Stream::pipe : Stream::inherit,
                                .error = Stream::pipe};
    const auto process = launch(request, options.task, Print::yes);
    if (!process) return std::nullopt;
    std::string output = readToEnd(*process, &Process::readAvailableOutput);
    std::string error = readToEnd(*process, &Process::readAvailableError);
    process->stopReading();
    return Data{std::move(output.empty() ? error : output)};
}

std::optional<Data> ZBTaskEx::dataFromTask(const Path& path, const Arguments& arguments,
                                           Seconds timeout) {
    return underTimeout<std::optional<Data>>(path, timeout, std::nullopt, [&](RunningTask* task) {
        return dataFromTask(path, arguments, {.task = task});
    });
}

std::optional<std::string> ZBTaskEx::stringFromTask(const Path& path, const Arguments& arguments,
                                                    TextEncoding encoding, RunningTask* task) {
    return decoded(dataFromTask(path, arguments, {.task = task}), encoding);
}

std::optional<std::string> ZBTaskEx::stringFromTask(const Path& path, const Arguments& arguments,
                                                    TextEncoding encoding, Seconds timeout) {
    return decoded(dataFromTask(path, arguments, timeout), encoding);
}

std::optional<std::string> ZBTaskEx::stringFromTask(const Path& path, const Arguments& arguments,
                                                    Seconds timeout) {
    return stringFromTask(path, arguments, TextEncoding::ascii, timeout);
}

std::int32_t ZBTaskEx::terminationCodeFromTask(const Path& path, const Arguments& arguments,
                                               RunningTask* task) {
    if (!mayBeLaunched(path)) return -1;
    const auto process = launch({.launchPath = path, .arguments = arguments}, task, Print::no);
    return process ? process->waitUntilExit() : -1;
}

std::int32_t ZBTaskEx::terminationCodeFromTask(const Path& path, const Arguments& arguments,
                                               Seconds timeout) {
    return underTimeout<std::int32_t>(path, timeout, -1, [&](RunningTask* task) {
        return terminationCodeFromTask(path, arguments, task);
    });
}

}  // namespace larkspan
