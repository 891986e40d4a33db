#include "platform/posix/FileDates.h"

#include "platform/posix/FileFacts.h"

#include <cerrno>
#include <tuple>

namespace larkspan::platform {
namespace {

using std::chrono::nanoseconds;

// Steps of file systems: NTFS, several network protocols, exFAT, HFS+ and ext3, FAT.
constexpr std::array<nanoseconds, 6> usualSteps = {nanoseconds(100),
                                                   std::chrono::microseconds(1),
                                                   std::chrono::milliseconds(1),
                                                   std::chrono::milliseconds(10),
                                                   std::chrono::seconds(1),
                                                   std::chrono::seconds(2)};

bool isEarlier(const timespec& one, const timespec& other) {
    return std::tie(one.tv_sec, one.tv_nsec) < std::tie(other.tv_sec, other.tv_nsec);
}

}  // namespace

timespec roundedUp(const timespec& time, nanoseconds step) {
    constexpr long perSecond = 1'000'000'000;
    const long whole = step.count();
    // The seconds of a step of 2 count, too; those of a shorter one are whole steps.
    const long seconds = whole > perSecond ? static_cast<long>(time.tv_sec % 2 + 2) % 2 : 0;
    const long part = seconds * perSecond + time.tv_nsec;
    const long up = (part + whole - 1) / whole * whole;
    timespec rounded = time;
    rounded.tv_sec += up / perSecond - seconds;
    rounded.tv_nsec = up % perSecond;
    return rounded;
}

int setDatesRoundedUp(const FileCalls& calls, int folder, const char* name,
                      const std::array<timespec, 2>& times) {
    if (const int failed = calls.setDates(folder, name, times)) return failed;
    for (const nanoseconds step : usualSteps) {
        const auto status = name ? statusAt(folder, name, 0) : statusOf(folder);
        if (!status) return errno;
        if (!isEarlier(status->st_mtim, times[1])) break;
        if (const int failed =
                calls.setDates(folder, name, {times[0], roundedUp(times[1], step)})) {
            return failed;
        }
    }
    return 0;
}

}  // namespace larkspan::platform
