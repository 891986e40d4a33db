#pragma once

#include "foundation/Guarded.h"
#include "foundation/MessageText.h"
#include "foundation/NotificationCenter.h"
#include "foundation/OperationQueue.h"
#include "foundation/Path.h"
#include "platform/Files.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

// The log of the process: five generations NAME.1.log (current) to NAME.5.log (oldest) in the
// user's Logs folder under "Corvane", written by one background writer.
//
//   ZBLog::appendLog("Backing up project %@ to path %@", project, folder);
//
// Operations may be called from any thread and never fail towards their callers; what the log
// itself cannot do is printed on standard output.
class ZBLog {
  public:
    // Made on first use.
    static ZBLog& sharedController();
    // Writes what is queued, ends the writer and forgets the instance: the last thing in main, and
    // what tests begin with.
    static void discardSharedController();

    ZBLog(const ZBLog&) = delete;
    ZBLog& operator=(const ZBLog&) = delete;
    ~ZBLog();

    // Rotates the generations and starts a new current one with its header. The first name given
    // stays for the life of the process.
    static void createNewLog(const std::optional<std::string>& appName = std::nullopt);

    // Queues one entry. Off the main thread a short entry (below 100 characters) waits until it is
    // on disk when little else is pending.
    template <class... Arguments>
    static void appendLog(MessageText<Arguments...> text, const Arguments&... arguments) {
        appendTextAndWait(text.format(arguments...));
    }
    // Queues one entry and never waits.
    template <class... Arguments>
    static void fastAppendLog(MessageText<Arguments...> text, const Arguments&... arguments) {
        sharedController().appendTextToLog(text.format(arguments...));
    }
    // Logs and prints on standard output. The finished text goes to the log as a format of its
    // own, on purpose: a "%" in it is read as a placeholder there.
    template <class... Arguments>
    static void appendLogAndPrint(MessageText<Arguments...> text, const Arguments&... arguments) {
        appendAndPrintText(text.format(arguments...));
    }
    static void appendAndPrintText(std::string_view text);

    // From here on nothing is logged: for programs whose output is their result.
    static void disableLogging();

    // Returns when every queued entry is written.
    static void finishWriting();

    // Where the generations lie, below a Library folder.
    static Path folderInLibrary();

    // Paths of the generations that exist, the current one first; always in the user's folder.
    static std::vector<Path> availableLogs();

    // Observer of the program's orderly end: writes what is pending (unless 20 entries or more
    // are, so that quitting is not held up) and closes the file.
    static void willTerminate();

    void appendTextToLog(std::string_view text);

    std::string appName() const;
    std::uint64_t bytesWritten() const { return bytesWritten_; }
    std::uint64_t bytesInQueue() const { return bytesInQueue_; }
    bool loggingDisabled() const { return loggingDisabled_; }

  private:
    ZBLog();

    struct Entry {
        std::string text;
        size_t length;  // characters
    };

    static void appendTextAndWait(std::string_view text);
    // Adds an entry to those pending, a text of blanks excepted. True when it is the first of them:
    // then the caller sees to it that they are written.
    bool takeIn(std::string_view text);
    void queueWriting();
    void startGeneration(const std::optional<std::string>& name);
    bool rotateGenerations();
    bool openGeneration();
    bool isTimeToStartAgain() const;
    void queueHeader();
    void appendLogOnThread();
    size_t writeSome(std::span<const Entry> entries);
    const std::string& lineStart();
    void reportProblem(const std::string& reason) const;
    std::shared_ptr<platform::FileWriter> openFile();
    std::shared_ptr<platform::FileWriter> openExistingFile();
    void close();

    static std::optional<Path> folder();
    Path generation(const Path& inFolder, long number) const;
    std::optional<Path> currentFile() const;

    // Guards these three, which the starting thread and the writer both use.
    mutable std::mutex mutex_;
    std::string appName_;
    std::shared_ptr<platform::FileWriter> fileHandle_;
    std::optional<Seconds> startAgainAt_;  // by the uptime, after a generation could not be started

    std::atomic<std::uint64_t> bytesWritten_{0};
    std::atomic<std::uint64_t> bytesInQueue_{0};  // characters, advisory
    std::atomic<bool> loggingDisabled_{false};
    NotificationCenter::Token terminationObserver_;
    Guarded<std::vector<Entry>> pending_;  // in the order in which they came
    long long lineStartSecond_ = 0;        // on the write queue alone, as the next
    std::string lineStart_;
    OperationQueue writeQueue_;  // last: its thread ends before what it uses
};

}  // namespace larkspan
