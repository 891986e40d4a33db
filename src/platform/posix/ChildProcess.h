#pragma once

#include "platform/Processes.h"
#include "platform/posix/FileDescriptor.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include <sys/types.h>

namespace larkspan::platform {

struct Pipe {
    FileDescriptor reading;
    FileDescriptor writing;
};

// A pipe whose ends are closed in children and never lie among the three standard streams; empty
// with errno set when there are no descriptors left.
std::optional<Pipe> makePipe();

// The reading end of a pipe. Thread safe.
class PipeReader {
  public:
    // `stopSignal` becomes readable when reading is to end; the caller keeps it open.
    PipeReader(FileDescriptor end, int stopSignal)
        : end_(std::move(end)), stopSignal_(stopSignal) {}

    // Waits until there is something; "" at the end, after the stop signal and without a pipe.
    std::string read();
    // To be called after the stop signal, else it waits for a reader.
    void close();

  private:
    bool waitForInput() const;

    std::mutex mutex_;  // held while reading, so that no descriptor is closed under a reader
    FileDescriptor end_;
    const int stopSignal_;
};

// What a child's process object and the thread that reaps it share.
class ChildState {
  public:
    // Our end of its input stays open as long as it runs.
    explicit ChildState(FileDescriptor input) : input_(std::move(input)) {}

    // For the thread: waits for started(), then for the end of the child, and reaps it.
    void reapWhenEnded();
    // To be called once: the child's id, or 0 when there is none after all.
    void started(pid_t processID);

    int processID();
    bool isRunning();
    int waitUntilExit();
    // Never reaches another process that got the same number.
    void sendSignal(int number);
    int writeInput(std::string_view text);
    void endInput();

  private:
    void waitForEnd() const;

    std::mutex mutex_;
    std::condition_variable changed_;
    FileDescriptor input_;
    std::optional<pid_t> processID_;
    bool ended_ = false;
    int exitStatus_ = -1;
};

class ChildProcess final : public Process {
  public:
    ChildProcess(std::shared_ptr<ChildState> state, Pipe stopSignal, FileDescriptor output,
                 FileDescriptor error);

    int processID() const override { return state_->processID(); }
    bool isRunning() override { return state_->isRunning(); }
    int waitUntilExit() override { return state_->waitUntilExit(); }
    void terminate() override;
    void kill() override;
    int writeInput(std::string_view text) override { return state_->writeInput(text); }
    void endInput() override { state_->endInput(); }
    std::string readAvailableOutput() override { return output_.read(); }
    std::string readAvailableError() override { return error_.read(); }
    void stopReading() override;

  private:
    const std::shared_ptr<ChildState> state_;
    std::mutex stopMutex_;
    Pipe stopSignal_;  // closing its writing end wakes every reader, now and later
    PipeReader output_;
    PipeReader error_;
};

}  // namespace larkspan::platform
