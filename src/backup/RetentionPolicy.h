#pragma once

#include "backup/RetentionRules.h"
#include "foundation/Date.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

// Which versions of one project go and which stay, as a function of values.

// An entry of a version folder.
struct StoredFile {
    std::string name;
    std::optional<Date> modificationDate;  // empty when it could not be read
};

// The rule that decided about an entry.
enum class RetentionRule {
    // It stays:
    tooFew,       // the project has so few entries that it is left alone
    withItsCopy,  // a rendition lives and dies with its copy
    undated,      // its date cannot be read
    recent,       // it lies in the recent window
    ofItsPeriod,  // it is one of those kept of its period
    // It goes:
    deletionAge,  // it is older than the user wants any version
    recentLimit,  // there are more recent ones than the user wants
    periodLimit,  // its period has more than the user wants
    oldLimit,     // there are more old ones than the user wants
};

constexpr bool isRemoval(RetentionRule rule) {
    return rule >= RetentionRule::deletionAge;
}

struct RetentionVerdict {
    std::string name;
    RetentionRule rule = RetentionRule::tooFew;
    std::string period;  // the key of its period; empty in the recent window
};

struct RetentionPlan {
    std::vector<RetentionVerdict> verdicts;  // of every entry, in plain order of the names
    std::vector<size_t> removals;            // indexes of verdicts, in the order of removal
    // The limit of old versions was reached: the run ends after this project, deliberately; the
    // others have their turn in a later run.
    bool endsRun = false;
    // Without a change of the versions and the rules nothing else goes before then.
    Date quietUntil = Date::max();
};

// `files` are the visible entries of a version folder, renditions among them, in any order.
RetentionPlan retentionPlan(const std::vector<StoredFile>& files, const RetentionRules& rules,
                            Date now);

// The key of the period that a date lies in, in the local time zone: "2012-03-07"; "2012-9" for a
// week (the calendar year before the number of the ISO week, so a week's key may name the year
// after it, deliberately); "2012-03" for a month.
std::string periodKey(Date date, RetentionPeriod period);

// Of `count` versions of a period, oldest first, the indexes that are kept, ascending. `kept` is 1
// or more. One keeps the oldest, two the oldest and the newest, more are spread from the newest
// back.
std::vector<size_t> keptIndexes(size_t count, long kept);

// Whether a name is a rendition's ("….xml" in any case), and what its copy is called.
bool isRenditionName(std::string_view name);
std::string copyNameOfRendition(std::string_view name);

}  // namespace larkspan
