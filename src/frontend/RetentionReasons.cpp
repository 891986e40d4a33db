#include "frontend/RetentionReasons.h"

#include "frontend/Format.h"

namespace larkspan {
namespace {

std::string daysText(long days) {
    return countText(static_cast<size_t>(days), "day", "days");
}

std::string versionsText(long count) {
    return countText(static_cast<size_t>(count), "version", "versions");
}

std::string periodText(RetentionPeriod period) {
    switch (period) {
        case RetentionPeriod::week:
            return "week";
        case RetentionPeriod::month:
            return "month";
        case RetentionPeriod::day:
            break;
    }
    return "day";
}

// "week 37 of 2012" for the key "2012-37"; days and months are their keys.
std::string periodNamed(const RetentionVerdict& verdict, RetentionPeriod period) {
    if (period != RetentionPeriod::week) return verdict.period;
    const size_t dash = verdict.period.find('-');
    return "week " + verdict.period.substr(dash + 1) + " of " + verdict.period.substr(0, dash);
}

}  // namespace

std::vector<std::string> describeRules(const RetentionRules& rules) {
    if (!rules.isOn) return {"Old versions are not thinned: every version is kept."};
    std::vector<std::string> lines;
    if (rules.minimum) {
        lines.push_back("A project with " +
                        countText(static_cast<size_t>(*rules.minimum), "file", "files") +
                        " or fewer in its version folder is left alone.");
    }
    std::string recent = "Every version of the last " + daysText(rules.recentDays) +
                         " before the newest one is kept";
    if (rules.recentLimit) recent += ", up to " + versionsText(*rules.recentLimit);
    lines.push_back(recent + ".");
    if (rules.deletionAge) {
        lines.push_back("Of the others, those older than " + daysText(*rules.deletionAge) + " go.");
    }
    std::string older = "Of the rest, " + versionsText(rules.keptPerPeriod) + " of each " +
                        periodText(rules.period) + (rules.keptPerPeriod == 1 ? " is" : " are") +
                        " kept";
    if (rules.oldLimit) older += ", up to " + versionsText(*rules.oldLimit);
    lines.push_back(older + ".");
    lines.emplace_back(rules.removal == RemovalType::remove ? "What goes is deleted."
                                                            : "What goes is moved to the Trash.");
    return lines;
}

std::string removalReason(const RetentionVerdict& verdict, const RetentionRules& rules) {
    switch (verdict.rule) {
        case RetentionRule::deletionAge:
            return "is older than " + daysText(rules.deletionAge.value_or(0));
        case RetentionRule::recentLimit:
            return "is beyond the " + versionsText(rules.recentLimit.value_or(0)) +
                   " kept of the last " + daysText(rules.recentDays);
        case RetentionRule::periodLimit:
            return "is beyond the " + versionsText(rules.keptPerPeriod) + " kept of " +
                   periodNamed(verdict, rules.period);
        case RetentionRule::oldLimit:
            return "is beyond the " + versionsText(rules.oldLimit.value_or(0)) +
                   " kept of the older ones";
        case RetentionRule::tooFew:
        case RetentionRule::withItsCopy:
        case RetentionRule::undated:
        case RetentionRule::recent:
        case RetentionRule::ofItsPeriod:
            break;
    }
    return "stays";
}

std::string preferenceOfRule(RetentionRule rule) {
    switch (rule) {
        case RetentionRule::deletionAge:
            return "deleteBackupCount";
        case RetentionRule::recentLimit:
            return "currentBackupLimit";
        case RetentionRule::periodLimit:
            return "oldBackupCount";
        case RetentionRule::oldLimit:
            return "oldBackupLimit";
        case RetentionRule::tooFew:
        case RetentionRule::withItsCopy:
        case RetentionRule::undated:
        case RetentionRule::recent:
        case RetentionRule::ofItsPeriod:
            break;
    }
    return {};
}

}  // namespace larkspan
