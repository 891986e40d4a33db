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
#include <utility>

namespace larkspan {
namespace {

constexpr long generations = 5;
// Decimal thousands on purpose, although the message speaks of KB.
constexpr std::uint64_t largestGeneration = 500'000;
// Entries below this many characters are waited for, while no more than this is pending.
constexpr std::uint64_t shortEntry = 100;
constexpr size_t abandonedWhenQuitting = 20;
constexpr Seconds betweenStarts{10.0};
// So long the writer lets entries come together, where nobody waits for them.
constexpr std::chrono::milliseconds gathering{3};

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
    : writeQueue_(
          1, [this](const std::string& reason) { reportProblem(reason); }, gathering) {}

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

Path ZBLog::folderInLibrary() {
    return Path("Logs/Corvane");
}

std::optional<Path> ZBLog::folder() {
    const auto library = ZBLocalPaths::libraryDirectory(UserDomain::yes);
    if (!library) return std::nullopt;
    return *library / folderInLibrary().str();
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
    return library ? std::optional(generation(*library / folderInLibrary().str(), 1))
                   : std::nullopt;
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
    const bool isStarted = rotateGenerations() && openGeneration();
    const std::lock_guard lock(mutex_);
    startAgainAt_.reset();
    if (!isStarted) startAgainAt_ = current().clock.uptime() + betweenStarts;
}

bool ZBLog::isTimeToStartAgain() const {
    const std::lock_guard lock(mutex_);
    return startAgainAt_ && current().clock.uptime() >= *startAgainAt_;
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

// False when there is no file.
bool ZBLog::openGeneration() {
    const auto file = currentFile();
    if (!file) return false;
    if (const auto error = current().files.writeFileAtomically(*file, "")) {
        print("Unable to create log file %s - %s\n", *file, error->description);
        return false;
    }
    auto opened = current().files.openForAppending(*file);
    if (!opened) return true;
    {
        const std::lock_guard lock(mutex_);
        fileHandle_ = std::move(*opened);
    }
    queueHeader();
    return true;
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

bool ZBLog::takeIn(std::string_view text) {
    const std::string_view entry = trimmed(text);
    if (entry.empty()) return false;
    const size_t length = characterCount(entry);
    bytesInQueue_ += length;
    return pending_.with([&](std::vector<Entry>& pending) {
        pending.push_back({std::string(entry), length});
        return pending.size() == 1;
    });
}

void ZBLog::queueWriting() {
    writeQueue_.addOperation([this] { appendLogOnThread(); });
}

void ZBLog::appendTextToLog(std::string_view text) {
    if (takeIn(text)) queueWriting();
}

void ZBLog::appendTextAndWait(std::string_view text) {
    ZBLog& log = sharedController();
    const bool isFirst = log.takeIn(text);
    const bool isLittle = log.bytesInQueue_ < shortEntry;
    const size_t length = isLittle ? characterCount(text) : 0;
    const bool isShort = length >= 1 && length < shortEntry;
    if (isShort && !current().mainThread.isCurrent() && !log.writeQueue_.isCurrent()) {
        finishWriting();
    } else if (isFirst) {
        log.queueWriting();
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

void ZBLog::appendLogOnThread() {
    const auto entries = pending_.with(
        [](std::vector<Entry>& pending) { return std::exchange(pending, std::vector<Entry>()); });
    size_t done = 0;
    while (done < entries.size() && !loggingDisabled_) {
        done += writeSome(std::span(entries).subspan(done));
    }
}

// Writes as many of the entries as the current file takes, at once, and gives their number: one at
// least.
size_t ZBLog::writeSome(std::span<const Entry> entries) {
    const auto file = openFile();
    if (!file) {
        print("Unable to log the following information: %s\n", entries.front().text);
        print("Unable to open log for output");
        bytesInQueue_ -= entries.front().length;
        return 1;
    }
    std::string lines;
    std::uint64_t length = 0;
    size_t count = 0;
    do {
        lines.append(lineStart()).append(entries[count].text).append("\n");
        length += entries[count++].length;
    } while (count < entries.size() && bytesWritten_ + lines.size() < largestGeneration);
    if (const auto error = file->write(lines)) {
        for (size_t i = 0; i < count; ++i) reportProblem(error->description);
        return count;
    }
    bytesWritten_ += lines.size();
    if (bytesWritten_ >= largestGeneration) {
        startGeneration(appName());
        appendLog("Log truncated at 500KB");
    }
    bytesInQueue_ -= length;
    return count;
}

void ZBLog::reportProblem(const std::string& reason) const {
    if (!loggingDisabled_) print("Exception writing to log: %s\n", reason);
}

// The current file. A generation that could not be started is begun anew here, since the disk may
// have been full for a while. The writer holds the file while it writes, whoever closes the log
// meanwhile.
std::shared_ptr<platform::FileWriter> ZBLog::openFile() {
    auto file = openExistingFile();
    if (file || !isTimeToStartAgain()) return file;
    startGeneration(appName());
    return openExistingFile();
}

// Null where there is none: only startGeneration creates it.
std::shared_ptr<platform::FileWriter> ZBLog::openExistingFile() {
    {
        const std::lock_guard lock(mutex_);
        if (fileHandle_) return fileHandle_;
    }
    const auto path = currentFile();
    if (!path) return nullptr;
    auto opened = current().files.openForAppending(*path);
    if (!opened) return nullptr;
    const std::lock_guard lock(mutex_);
    fileHandle_ = std::move(*opened);
    return fileHandle_;
}

// The date of a line. Many lines are written in a second, and have it alike.
const std::string& ZBLog::lineStart() {
    const Date now = current().clock.now();
    if (lineStart_.empty() || unixSeconds(now) != lineStartSecond_) {
        lineStartSecond_ = unixSeconds(now);
        lineStart_ = dateDescription(now) + " - ";
    }
    return lineStart_;
}

void ZBLog::finishWriting() {
    ZBLog& log = sharedController();
    // By an operation of our own: who took in the first entry may not have queued one yet.
    log.writeQueue_.addOperationAndWait([&log] { log.appendLogOnThread(); });
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
    const size_t pending = log.pending_.with([](const auto& entries) { return entries.size(); });
    if (pending < abandonedWhenQuitting) finishWriting();
    log.close();
    const std::lock_guard lock(log.mutex_);
    log.appName_.clear();
}

void ZBLog::close() {
    const std::lock_guard lock(mutex_);
    fileHandle_.reset();
}

}  // namespace larkspan
