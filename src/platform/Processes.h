#pragma once

#include "foundation/Path.h"
#include "foundation/Result.h"
#include "foundation/Secret.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan::platform {

enum class Stream { inherit, nullDevice, pipe };
enum class ProcessGroup { shared, own };

struct LaunchRequest {
    Path launchPath = {};  // absolute
    std::vector<std::string> arguments = {};
    std::optional<std::map<std::string, std::string>> environment = {};  // replaces the whole of it
    Stream input = Stream::nullDevice;  // a pipe stays open while it runs, or until endInput()
    // Written to its standard input in place of all that `input` says, which then ends. At most
    // 4096 bytes, more gives EFBIG.
    std::shared_ptr<const Secret> inputText = {};
    Stream output = Stream::nullDevice;
    Stream error = Stream::nullDevice;
    // A group of its own: what is typed at the terminal to end this process does not end it.
    ProcessGroup group = ProcessGroup::shared;
};

// A child process. Thread safe: one thread may read or wait while another asks or terminates. It
// is reaped when it has ended, whoever looks; destroying the object neither ends nor waits for it.
class Process {
  public:
    virtual ~Process() = default;

    virtual int processID() const = 0;
    virtual bool isRunning() = 0;

    // Blocks until it has ended. The exit status, or 128 plus the number of the signal; -1 where
    // the system does not tell.
    virtual int waitUntilExit() = 0;

    // Asks it to end (the polite termination signal). Nothing happens when it has ended.
    virtual void terminate() = 0;

    // Ends it at once, without asking. Nothing happens when it has ended.
    virtual void kill() = 0;

    // Writes to its standard input, a pipe, without waiting. An errno value, 0 on success: E2BIG
    // for more than 4096 bytes, EAGAIN when there is no room, EPIPE without a pipe and when nobody
    // reads it any more; then nothing was written.
    [[nodiscard]] virtual int writeInput(std::string_view text) = 0;
    // Ends its standard input.
    virtual void endInput() = 0;

    // What can be read from the pipe now, waiting until there is something; "" at its end, when
    // there is no pipe, and after stopReading().
    virtual std::string readAvailableOutput() = 0;
    virtual std::string readAvailableError() = 0;

    // Ends reading for good, also a read that another thread is blocked in.
    virtual void stopReading() = 0;
};

// External programs. Children inherit nothing but their three standard streams, start with
// default signal handling, and never stay behind as zombies. Any thread.
class Processes {
  public:
    virtual ~Processes() = default;

    // The error (of posixErrorDomain) tells why a program could not be started. A launch path that
    // is not absolute and texts with a zero byte in them give EINVAL.
    virtual Result<std::shared_ptr<Process>> launch(const LaunchRequest& request) = 0;
};

}  // namespace larkspan::platform
