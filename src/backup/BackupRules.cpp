#include "backup/BackupRules.h"

namespace larkspan {
namespace {

constexpr long defaultMinimumInterval = 15;  // minutes
constexpr Seconds recentAlert{1.5};
constexpr long loudBackups = 3;

}  // namespace

std::optional<std::chrono::minutes> minimumInterval(const Preferences& frontEnd) {
    if (frontEnd.integer("backupMinIntervalEnabled", 0) != 1) return std::nullopt;
    return std::chrono::minutes(frontEnd.integer("backupMinInterval", defaultMinimumInterval));
}

bool isTooSoon(Date newestVersion, Date now, std::chrono::minutes minimum) {
    return secondsBetween(newestVersion, now) < minimum;
}

AlertThrottle::AlertThrottle(std::optional<Date> lastAlertShown, Date now)
    : silent_(lastAlertShown && secondsBetween(*lastAlertShown, now) < recentAlert) {}

bool AlertThrottle::isPartOfBatch(long backedUp) {
    silent_ = silent_ || backedUp > loudBackups;
    return silent_;
}

}  // namespace larkspan
