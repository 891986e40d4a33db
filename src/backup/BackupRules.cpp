#include "backup/BackupRules.h"

#include <algorithm>
#include <array>

namespace larkspan {
namespace {

constexpr long defaultMinimumInterval = 15;  // minutes
constexpr Seconds recentAlert{1.5};
constexpr long loudBackups = 3;

// The steps in which file systems keep dates: NTFS, several network protocols, exFAT, HFS+ and
// ext3, FAT.
constexpr std::array<std::chrono::nanoseconds, 6> dateSteps = {
    std::chrono::nanoseconds(100), std::chrono::microseconds(1), std::chrono::milliseconds(1),
    std::chrono::milliseconds(10), std::chrono::seconds(1),      std::chrono::seconds(2)};

}  // namespace

Newness newness(Date projectFile, Date newestVersion) {
    if (projectFile == newestVersion) return Newness::same;
    if (projectFile > newestVersion) return Newness::newer;
    const Seconds later = secondsBetween(projectFile, newestVersion);
    const bool isRoundedUp = std::ranges::any_of(dateSteps, [&](std::chrono::nanoseconds step) {
        return later < step && newestVersion.time_since_epoch() % step == step.zero();
    });
    return isRoundedUp ? Newness::same : Newness::older;
}

bool skipsUnchangedSaves(const Preferences& frontEnd) {
    return frontEnd.integer("skipUnchangedSaves", 1) == 1;
}

std::optional<std::chrono::minutes> minimumInterval(const Preferences& frontEnd) {
    if (frontEnd.integer("backupMinIntervalEnabled", 0) != 1) return std::nullopt;
    return std::chrono::minutes(frontEnd.integer("backupMinInterval", defaultMinimumInterval));
}

bool isTooSoon(Date newestVersion, Date now, std::chrono::minutes minimum) {
    const Seconds age = secondsBetween(newestVersion, now);
    return age >= Seconds(0) && age < minimum;
}

AlertThrottle::AlertThrottle(std::optional<Date> lastAlertShown, Date now)
    : silent_(lastAlertShown && secondsBetween(*lastAlertShown, now) < recentAlert) {}

bool AlertThrottle::isPartOfBatch(long backedUp) {
    silent_ = silent_ || backedUp > loudBackups;
    return silent_;
}

}  // namespace larkspan
