#include "kit/ZBFileManager.h"
#include "kit/ZBLog.h"
#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/Platform.h"

namespace larkspan {
namespace {

constexpr Seconds beingWritten{4.0};
constexpr Seconds writePoll = std::chrono::microseconds(500);
constexpr Seconds longestWriteWait = std::chrono::minutes(10);

platform::Platform& current() {
    return platform::Platform::current();
}

// A file is at rest when it is gone, or when its date is old enough.
bool isBeingWritten(const Path& path) {
    const auto info = current().files.info(path);
    return info && secondsBetween(info->modificationDate, current().clock.now()) < beingWritten;
}

enum class WriteWait { finished, givenUp };

WriteWait waitUntilAtRest(const Path& path) {
    platform::Clock& clock = current().clock;
    const Seconds start = clock.uptime();
    Seconds lastChange = start;
    Date lastDate;
    while (isBeingWritten(path)) {
        const auto info = current().files.info(path);
        if (info && info->modificationDate != lastDate) {
            lastDate = info->modificationDate;
            lastChange = clock.uptime();
        }
        if (clock.uptime() - lastChange > beingWritten) return WriteWait::finished;
        if (clock.uptime() - start > longestWriteWait) return WriteWait::givenUp;
        clock.sleepFor(writePoll);
    }
    return WriteWait::finished;
}

}  // namespace

void ZBFileManager::waitForFileCreation(const Path& file, std::chrono::seconds timeout) {
    const auto info = current().files.info(file);
    if ((info && info->size > 0) || timeout <= std::chrono::seconds(0)) return;
    ZBLog::appendLog("File %@ is not yet created. Waiting...", file);
    current().clock.sleepFor(writePoll);
}

void ZBFileManager::waitForFileWrites(const Path& path, const std::string& lockFile) {
    const bool locked =
        !lockFile.empty() && current().files.exists(path.deletingLastPathComponent() / lockFile);
    if (!isBeingWritten(path) && !locked) return;
    ZBLog::appendLog("File %@ is currently being written to. Waiting...", path);
    if (waitUntilAtRest(path) == WriteWait::finished) {
        ZBLog::appendLog("File %@ finished writing.", path);
    } else {
        ZBLog::appendLog("File %@ is still being written to. Going on without waiting.", path);
    }
}

}  // namespace larkspan
