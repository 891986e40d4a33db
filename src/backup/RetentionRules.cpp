#include "backup/RetentionRules.h"

#include <algorithm>

namespace larkspan {
namespace {

// The number under `key` when the switch is on; empty when it is off or the number is negative.
std::optional<long> switchedNumber(const Preferences& preferences, const char* switchKey,
                                   long switchDefault, const char* key, long numberDefault) {
    if (preferences.integer(switchKey, switchDefault) != 1) return std::nullopt;
    const long number = preferences.integer(key, numberDefault);
    return number < 0 ? std::nullopt : std::optional(number);
}

RetentionPeriod period(long number) {
    switch (number) {
        case 1:
            return RetentionPeriod::week;
        case 2:
            return RetentionPeriod::month;
        default:
            return RetentionPeriod::day;
    }
}

}  // namespace

RetentionRules retentionRules(const Preferences& frontEnd) {
    const RetentionRules usual;
    RetentionRules rules;
    rules.isOn = frontEnd.integer("manageBackups", 1) == 1;
    rules.minimum = switchedNumber(frontEnd, "backupManagementMinLimitSet", 1,
                                   "backupManagementMinLimit", *usual.minimum);
    rules.recentDays = std::max(0L, frontEnd.integer("currentDayCount", usual.recentDays));
    constexpr long recentLimit = 30;
    rules.recentLimit =
        switchedNumber(frontEnd, "currentBackupLimitSet", 0, "currentBackupLimit", recentLimit);
    rules.period = period(frontEnd.integer("oldBackupType", 0));
    rules.keptPerPeriod = std::max(1L, frontEnd.integer("oldBackupCount", usual.keptPerPeriod));
    rules.oldLimit =
        switchedNumber(frontEnd, "oldBackupLimitSet", 1, "oldBackupLimit", *usual.oldLimit);
    rules.deletionAge =
        switchedNumber(frontEnd, "deleteBackupSet", 1, "deleteBackupCount", *usual.deletionAge);
    rules.removal =
        frontEnd.integer("removalType", 0) == 1 ? RemovalType::remove : RemovalType::trash;
    rules.removesSynced = frontEnd.integer("syncService", 0) == 1 &&
                          frontEnd.integer("syncDeleteRemoteFiles", 1) == 1;
    return rules;
}

}  // namespace larkspan
