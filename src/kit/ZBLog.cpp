#include "kit/ZBLog.h"

#include "foundation/Text.h"
#include "kit/Identifiers.h"
#include "kit/Preferences.h"
#include "kit/ZBLocalPaths.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/Console.h"
#include "platform/Machine.h"
#include "platform/MainThread.h"
#include "platform/Platform.h"

#include <exception>
#include <stdexcept>

namespace larkspan {
namespace {

constexpr long generations = 5;
// Decimal thousands on purpose, although the message speaks of KB.
constexpr std::uint64_t largestGeneration = 500'000;
// Entries below this many characters are waited for, while no more than this is pending.
constexpr std::uint64_t shortEntry = 100;
constexpr size_t abandonedWhenQuitting = 20;

std::mutex instanceMutex;
std::unique_ptr<ZBLog> instance;  // NOLINT(bugprone-dynamic-static-initializers)

platform::Platform& current() {
    return platform::Platform::current();
}

template <class... Arguments>
void print(MessageText<Arguments...> text, const Arguments&... arguments) {
    current().console.print(text.format(arguments...));
}

// Logs why the process dies of an exception that nobody caught, then lets it die.
[[noreturn]] void uncaughtException() {
    try {
        if (const auto exception = std::current_exception()) std::rethrow_exception(exception);
    } catch (const std::exception& exception) {
        ZBLog::appendAndPrintText(exception.what());
        ZBLog::finishWriting();
    } catch (...) {
        ZBLog::appendAndPrintText("Unknown exception");
        ZBLog::finishWriting();
    }
    std::abort();
}

bool isLoggingDisabled() {
    const Preferences preferences = Preferences::organisation();
    return preferences.isSwitchedOn("disable-logging");
}

}  // namespace

ZBLog::ZBLog()
    : writeQueue_(1, [this](const std::string& reason) {
          if (!loggingDisabled_) print("Exception writing to log: %s\n", reason);
      }) {}

ZBLog::~ZBLog() {
    close();
}

ZBLog& ZBLog::sharedController() {
    const std::lock_guard lock(instanceMutex);
    if (!instance) {
        instance.reset(new ZBLog);
        instance->terminationObserver_ = NotificationCenter::defaultCenter().addObserver(
            applicationWillTerminateNotification, [](const auto&) { willTerminate(); });
        std::set_terminate(uncaughtException);
    }
    return *instance;
}

void ZBLog::discardSharedController() {
    finishWriting();
    const std::lock_guard lock(instanceMutex);
    instance.reset();
}

void ZBLog::disableLogging() {
    sharedController().loggingDisabled_ = true;
}

std::string ZBLog::appName() const {
    const std::lock_guard lock(mutex_);
    if (!appName_.empty()) return appName_;
    const Path executable = current().bundles.mainBundle().executable;
    return Path(executable.lastPathComponent()).deletingPathExtension().str();
}

std::optional<Path> ZBLog::folder() {
    const auto library = ZBLocalPaths::libraryDirectory(UserDomain::yes);
    if (!library) return std::nullopt;
    return *library / "Logs/Corvane";
}

Path ZBLog::generation(const Path& inFolder, long number) const {
    return inFolder / messageText("%@.%li.log", appName(), number);
}

// For a process that acts as root for another user the current file lies in the local domain while
// its older generations are kept in the user's, on purpose.
std::optional<Path> ZBLog::currentFile() const {
    if (!ZBLocalPaths::actsForConsoleUser()) {
        const auto logs = folder();
        return logs ? std::optional(generation(*logs, 1)) : std::nullopt;
    }
    const auto library = ZBLocalPaths::libraryDirectory(UserDomain::no);
    return library ? std::optional(generation(*library / "Logs/Corvane", 1)) : std::nullopt;
}

void ZBLog::createNewLog(const std::optional<std::string>& appName) {
    sharedController().startGeneration(appName);
}

void ZBLog::startGeneration(const std::optional<std::string>& name) {
    close();
    if (isLoggingDisabled()) {
        print("Logging is disabled");
        loggingDisabled_ = true;
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        if (name && appName_.empty()) appName_ = *name;
    }
    bytesWritten_ = 0;
    if (appName().empty()) {
        const std::lock_guard lock(mutex_);
        appName_ = "Unknown";
    }
    if (rotateGenerations()) openGeneration();
}

bool ZBLog::rotateGenerations() {
    platform::Files& files = current().files;
    const auto logs = folder();
    if (!logs || files.createFolder(*logs)) {
        print("Unable to create folder %s.\n", logs.value_or(Path()));
        return false;
    }
    if (!files.exists(generation(*logs, 1))) return true;
    (void)files.removeItem(generation(*logs, generations));
    for (long number = generations - 1; number >= 1; --number) {
        const Path from = generation(*logs, number);
        const Path to = generation(*logs, number + 1);
        if (files.exists(from) && files.moveItem(from, to)) {
            print("Unable to move file %s to %s.\n", from, to);
            return false;
        }
    }
    return true;
}

void ZBLog::openGeneration() {
    const auto file = currentFile();
    if (!file) return;
    if (const auto error = current().files.writeFileAtomically(*file, "")) {
        print("Unable to create log file %s - %s\n", *file, error->description);
        return;
    }
    auto opened = current().files.openForAppending(*file);
    if (!opened) return;
    {
        const std::lock_guard lock(mutex_);
        fileHandle_ = std::move(*opened);
    }
    queueHeader();
}

void ZBLog::queueHeader() {
    const platform::Bundle bundle = current().bundles.mainBundle();
    const platform::Machine& machine = current().machine;
    constexpr double gigabyte = 1024.0 * 1024.0 * 1024.0;

    fastAppendLog("Log started: %@\n", current().clock.now());
    if (const std::string version = bundle.infoString("CFBundleVersion"); !version.empty()) {
        fastAppendLog("Version: %@\n", version);
    }
    if (!bundle.executable.empty()) fastAppendLog("Path: %@\n", bundle.executable);
    appendLog("System: OS X %@, %li CPU(s), %0.2f GB RAM\n", machine.operatingSystemVersion(),
              machine.processorCount(), static_cast<double>(machine.physicalMemory()) / gigabyte);
    fastAppendLog("Running in 64-bit mode\n");
}

OperationQueue::Operation ZBLog::takeIn(std::string_view text) {
    std::string entry(trimmed(text));
    if (entry.empty()) return {};
    bytesInQueue_ += characterCount(entry);
    return [this, entry = std::move(entry)] { appendLogOnThread(entry); };
}

void ZBLog::appendTextToLog(std::string_view text) {
    if (auto write = takeIn(text)) writeQueue_.addOperation(std::move(write));
}

void ZBLog::appendTextAndWait(const std::string& text) {
    ZBLog& log = sharedController();
    auto write = log.takeIn(text);
    const size_t length = characterCount(text);
    const bool isShort = length >= 1 && length < shortEntry && log.bytesInQueue_ < shortEntry;
    const bool waits = isShort && !current().mainThread.isCurrent();
    if (write && waits) {
        log.writeQueue_.addOperationAndWait(std::move(write));
    } else if (write) {
        log.writeQueue_.addOperation(std::move(write));
    } else if (waits) {
        finishWriting();
    }
}

void ZBLog::appendAndPrintText(std::string_view text) {
    const std::string entry(trimmed(text));
    appendTextAndWait(formatMessage(entry, {}));
    std::string printed = replacingAll(entry, "%@", "");
    printed = replacingAll(printed, "%", "%%");
    std::erase(printed, '\0');
    current().console.print(printed);
}

void ZBLog::appendLogOnThread(const std::string& text) {
    if (loggingDisabled_) return;
    if (!isOpen()) reopen();
    if (isOpen()) {
        writeLine(text);
    } else {
        print("Unable to log the following information: %s\n", text);
        print("Unable to open log for output");
    }
    if (bytesWritten_ >= largestGeneration) {
        startGeneration(appName());
        appendLog("Log truncated at 500KB");
    }
    bytesInQueue_ -= characterCount(text);
}

bool ZBLog::isOpen() const {
    const std::lock_guard lock(mutex_);
    return fileHandle_ != nullptr;
}

// Goes on with the current file where there is one; only startGeneration creates it.
void ZBLog::reopen() {
    const auto file = currentFile();
    if (!file) return;
    auto opened = current().files.openForAppending(*file);
    if (!opened) return;
    const std::lock_guard lock(mutex_);
    fileHandle_ = std::move(*opened);
}

// Throws when the line cannot be written; the write queue reports it.
void ZBLog::writeLine(const std::string& text) {
    const std::string line = dateDescription(current().clock.now()) + " - " + text + "\n";
    const std::lock_guard lock(mutex_);
    if (const auto error = fileHandle_->write(line)) throw std::runtime_error(error->description);
    bytesWritten_ += line.size();
}

void ZBLog::finishWriting() {
    sharedController().writeQueue_.waitUntilAllOperationsAreFinished();
}

std::vector<Path> ZBLog::availableLogs() {
    std::vector<Path> logs;
    const auto inFolder = folder();
    if (!inFolder) return logs;
    for (long number = 1; number <= generations; ++number) {
        Path path = sharedController().generation(*inFolder, number);
        if (current().files.exists(path)) logs.push_back(std::move(path));
    }
    return logs;
}

void ZBLog::willTerminate() {
    ZBLog& log = sharedController();
    log.terminationObserver_.reset();
    if (log.writeQueue_.operationCount() < abandonedWhenQuitting) finishWriting();
    log.close();
    const std::lock_guard lock(log.mutex_);
    log.appName_.clear();
}

void ZBLog::close() {
    const std::lock_guard lock(mutex_);
    fileHandle_.reset();
}

}  // namespace larkspan
