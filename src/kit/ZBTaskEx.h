#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"
#include "foundation/Value.h"
#include "kit/RunningTask.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace larkspan {

// How the output of a program becomes text. Output that does not decode gives no text.
enum class TextEncoding { ascii, utf8 };

// Whether standard output is collected; else the program writes to this process's own.
enum class LogOutput { no, yes };

struct DataTaskOptions {
    RunningTask* task = nullptr;  // lets other threads end the run
    std::optional<std::map<std::string, std::string>> environment = {};  // the whole of it
    LogOutput logOutput = LogOutput::yes;
};

// Runs external programs.
//
//   ZBTaskEx::dataFromTask(Path("/bin/df"), {"-k"})            its output, or its error output
//   ZBTaskEx::terminationCodeFromTask(tool, arguments, 30s)    its exit status
//
// A launch path is accepted when it can be executed and is no package. The class operations block
// until the program has ended or its output has. What fails is logged and gives false, nothing or
// -1; nothing is raised.
//
// A time-out is cut off to whole seconds (0.9 s is none at all) and counts from the launch. It is
// performed on the main thread, so it has no effect on runs on the main thread itself. At the
// time-out the program is asked to end; two seconds later it is killed and whatever it or a child
// of its own still holds open is left alone, so that the caller gets its thread back. What was
// read until then is returned, or the exit status after the termination.
class ZBTaskEx {
  public:
    using Arguments = std::vector<std::string>;
    using Environment = std::map<std::string, std::string>;

    // True when it was started and has ended, whatever its exit status.
    [[nodiscard]] static bool runTask(const Path& path, const Arguments& arguments = {},
                                      RunningTask* task = nullptr);
    static void runTask(const Path& path, const Arguments& arguments, Seconds timeout);
    // Does not wait for its end.
    static void runTaskAndReturn(const Path& path, const Arguments& arguments = {});
    // The same for a program that goes on whatever becomes of this process. Its standard output
    // comes through the process that is returned and ends with it. Null when it did not start.
    [[nodiscard]] static std::shared_ptr<platform::Process> runLastingTaskAndReturn(
        const Path& path, const Arguments& arguments);

    // Everything it writes to standard output; when that is nothing, what it writes to standard
    // error. Standard output is read to its end before standard error is, so only programs with
    // little error output (64 KiB) suit. The end of the program is not waited for.
    [[nodiscard]] static std::optional<Data> dataFromTask(const Path& path,
                                                          const Arguments& arguments = {},
                                                          const DataTaskOptions& options = {});
    [[nodiscard]] static std::optional<Data> dataFromTask(const Path& path,
                                                          const Arguments& arguments,
                                                          Seconds timeout);

    // The data as text: "" when there is no data, nothing when it does not decode.
    [[nodiscard]] static std::optional<std::string> stringFromTask(
        const Path& path, const Arguments& arguments = {},
        TextEncoding encoding = TextEncoding::ascii, RunningTask* task = nullptr);
    [[nodiscard]] static std::optional<std::string> stringFromTask(const Path& path,
                                                                   const Arguments& arguments,
                                                                   TextEncoding encoding,
                                                                   Seconds timeout);
    [[nodiscard]] static std::optional<std::string> stringFromTask(const Path& path,
                                                                   const Arguments& arguments,
                                                                   Seconds timeout);

    // The exit status (128 plus the number of the signal that ended it), -1 when it did not start.
    [[nodiscard]] static std::int32_t terminationCodeFromTask(const Path& path,
                                                              const Arguments& arguments = {},
                                                              RunningTask* task = nullptr);
    [[nodiscard]] static std::int32_t terminationCodeFromTask(const Path& path,
                                                              const Arguments& arguments,
                                                              Seconds timeout);

    // Gets each chunk of output, in order, and at the end one call with empty data. Called on the
    // runner's own thread, never on the main thread.
    using Delegate = std::function<void(const Data& chunk, ZBTaskEx& runner)>;

    ZBTaskEx() = default;
    ZBTaskEx(const ZBTaskEx&) = delete;
    ZBTaskEx& operator=(const ZBTaskEx&) = delete;
    // Ends a run as terminateAsyncTask does and waits for a call of the delegate to return, unless
    // it is the delegate that destroys the runner.
    ~ZBTaskEx();

    // Starts a run on a thread of its own and returns. A run before it is ended. Packages are not
    // refused; a path that cannot be executed is logged and the delegate not called.
    void asyncDataFromTask(const Path& path, const Arguments& arguments, Delegate delegate,
                           const std::optional<Environment>& environment = std::nullopt);

    // Ends an asynchronous run: reading its output ends, the delegate is let go and not called
    // again, the process is asked to end. Any thread, also from the delegate.
    void terminateTask() { terminateAsyncTask(); }
    void terminateAsyncTask();

    // Logs that the asynchronous run took too long and asks its process to end; nothing when it is
    // not running.
    void timeout();

    // The running process of the asynchronous run; null when there is none.
    std::shared_ptr<platform::Process> theTask();

  private:
    class AsyncRun;
    std::shared_ptr<AsyncRun> currentRun();
    void endRun(std::unique_lock<std::mutex>& lock);

    std::mutex mutex_;
    std::shared_ptr<AsyncRun> run_;
    std::thread thread_;
    bool closing_ = false;
};

}  // namespace larkspan
