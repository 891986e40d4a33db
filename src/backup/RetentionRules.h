#pragma once

#include "kit/Preferences.h"

#include <optional>

namespace larkspan {

enum class RemovalType { trash = 0, remove = 1 };

// The spans of time of which old versions are thinned to a few each.
enum class RetentionPeriod { day = 0, week = 1, month = 2 };

// What the user wants kept. A number that makes no sense (a negative limit or age) leaves its rule
// switched off, so that a damaged preference never removes anything.
struct RetentionRules {
    bool isOn = true;
    // Projects with so many entries in their version folder or fewer are left alone.
    std::optional<long> minimum = 25;
    // Days before the newest version in which every version is kept, up to the limit if there is
    // one.
    long recentDays = 1;
    std::optional<long> recentLimit = std::nullopt;
    // Of the older ones so many are kept for each period (1 or more), and so many altogether.
    RetentionPeriod period = RetentionPeriod::day;
    long keptPerPeriod = 1;
    std::optional<long> oldLimit = 30;
    // Older ones go at this age in days, counted from now.
    std::optional<long> deletionAge = 90;
    RemovalType removal = RemovalType::trash;
    // Whether what is removed here is removed in the cloud, too.
    bool removesSynced = false;

    friend bool operator==(const RetentionRules&, const RetentionRules&) = default;
};

RetentionRules retentionRules(const Preferences& frontEnd);

}  // namespace larkspan
