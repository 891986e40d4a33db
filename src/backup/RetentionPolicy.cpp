#include "backup/RetentionPolicy.h"

#include "foundation/Path.h"
#include "foundation/Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>
#include <map>

namespace larkspan {
namespace {

Seconds days(long count) {
    constexpr double secondsPerDay = 86400;
    return Seconds(static_cast<double>(count) * secondsPerDay);
}

std::string twoDigits(int number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

long isoWeek(const std::tm& date) {
    std::array<char, 8> text{};
    return integerValue({text.data(), std::strftime(text.data(), text.size(), "%V", &date)});
}

constexpr auto nameOf = [](const StoredFile* file) -> const std::string& { return file->name; };

// Makes the plan of one project; each step gives its entries their rule.
class Planning {
  public:
    Planning(const std::vector<StoredFile>& files, const RetentionRules& rules, Date now)
        : rules_(rules), now_(now) {
        files_.reserve(files.size());
        for (const StoredFile& file : files) files_.push_back(&file);
        std::ranges::sort(files_, {}, nameOf);
        plan_.verdicts.reserve(files.size());
        for (const StoredFile* file : files_) plan_.verdicts.push_back({file->name, {}, {}});
    }

    RetentionPlan plan() && {
        const auto count = static_cast<long>(files_.size());
        const bool tooFew = files_.empty() || (rules_.minimum && *rules_.minimum >= count);
        if (tooFew) return std::move(plan_);
        sortByAge();
        limitRecent();
        for (auto& [key, group] : groups_) thin(group);
        limitOld();
        return std::move(plan_);
    }

  private:
    void set(size_t index, RetentionRule rule) { plan_.verdicts[index].rule = rule; }
    void remove(size_t index, RetentionRule rule) {
        set(index, rule);
        plan_.removals.push_back(index);
    }

    void sortByAge() {
        // Without the date of the newest version there is no telling what is old.
        const std::optional<Date> newest = files_.back()->modificationDate;
        for (size_t index = 0; index < files_.size(); ++index) {
            const std::optional<Date> date = files_[index]->modificationDate;
            if (isWithItsCopy(files_[index]->name)) {
                set(index, RetentionRule::withItsCopy);
            } else if (!newest || !date) {
                set(index, RetentionRule::undated);
            } else if (secondsBetween(*newest, *date) >= -days(rules_.recentDays)) {
                set(index, RetentionRule::recent);
                recent_.push_back(index);
            } else if (rules_.deletionAge &&
                       secondsBetween(*date, now_) > days(*rules_.deletionAge)) {
                remove(index, RetentionRule::deletionAge);
            } else {
                plan_.verdicts[index].period = periodKey(*date, rules_.period);
                set(index, RetentionRule::ofItsPeriod);
                groups_[plan_.verdicts[index].period].push_back(index);
                noteDeletion(*date);
            }
        }
    }

    // The version comes of the age to be deleted at; ages beyond all dates never come.
    void noteDeletion(Date date) {
        const Seconds span = days(rules_.deletionAge.value_or(0));
        if (!rules_.deletionAge || span >= secondsBetween(date, Date::max())) return;
        plan_.quietUntil =
            std::min(plan_.quietUntil, date + std::chrono::duration_cast<Date::duration>(span));
    }

    bool isWithItsCopy(const std::string& name) const {
        if (!isRenditionName(name)) return false;
        return std::ranges::binary_search(files_, copyNameOfRendition(name), {}, nameOf);
    }

    void limitRecent() {
        if (!rules_.recentLimit) return;
        const auto limit = static_cast<size_t>(*rules_.recentLimit);
        for (size_t at = 0; at + limit < recent_.size(); ++at) {
            remove(recent_[at], RetentionRule::recentLimit);
        }
    }

    void thin(std::vector<size_t>& group) {
        std::vector<size_t> kept = keptIndexes(group.size(), rules_.keptPerPeriod);
        for (size_t at = group.size(); at-- > 0;) {
            if (!std::ranges::binary_search(kept, at)) {
                remove(group[at], RetentionRule::periodLimit);
            }
        }
        for (size_t& at : kept) at = group[at];
        group = std::move(kept);
    }

    void limitOld() {
        size_t total = 0;
        for (const auto& [key, group] : groups_) total += group.size();
        const auto limit = static_cast<size_t>(rules_.oldLimit.value_or(0));
        if (!rules_.oldLimit || total <= limit) return;
        size_t excess = total - limit;
        for (const auto& [key, group] : groups_) {
            for (size_t at = 0; at < group.size() && excess > 0; ++at, --excess) {
                remove(group[at], RetentionRule::oldLimit);
            }
        }
        plan_.endsRun = true;
    }

    const RetentionRules& rules_;
    const Date now_;
    std::vector<const StoredFile*> files_;  // in plain order of the names
    std::vector<size_t> recent_;
    std::map<std::string, std::vector<size_t>> groups_;  // by period, oldest first
    RetentionPlan plan_;
};

}  // namespace

RetentionPlan retentionPlan(const std::vector<StoredFile>& files, const RetentionRules& rules,
                            Date now) {
    return Planning(files, rules, now).plan();
}

std::string periodKey(Date date, RetentionPeriod period) {
    const std::time_t seconds = unixSeconds(date);
    std::tm local{};
    ::localtime_r(&seconds, &local);
    constexpr int firstYear = 1900;
    const std::string year = std::to_string(firstYear + local.tm_year);
    if (period == RetentionPeriod::week) return year + "-" + std::to_string(isoWeek(local));
    const std::string month = year + "-" + twoDigits(local.tm_mon + 1);
    return period == RetentionPeriod::month ? month : month + "-" + twoDigits(local.tm_mday);
}

std::vector<size_t> keptIndexes(size_t count, long kept) {
    std::vector<size_t> indexes;
    if (kept >= 0 && count <= static_cast<size_t>(kept)) {
        for (size_t index = 0; index < count; ++index) indexes.push_back(index);
        return indexes;
    }
    if (kept <= 2) {
        indexes.push_back(0);
        if (kept == 2) indexes.push_back(count - 1);
        return indexes;
    }
    // The middle in these precisions, single and then double, decides for very large counts.
    indexes.push_back(static_cast<size_t>(std::ceil(double(static_cast<float>(count)) * 0.5)));
    size_t offset = 0;
    size_t width = count;
    for (long i = 0; i == 0 || i < kept - 1; i += 2) {
        indexes.push_back(width + offset - 1);
        if (i < kept - 2 || kept % 2 == 1) indexes.push_back(offset);
        const size_t step = width / 4;
        offset += step;
        width -= 2 * step;
    }
    std::ranges::sort(indexes);
    const auto repeated = std::ranges::unique(indexes);
    indexes.erase(repeated.begin(), repeated.end());
    return indexes;
}

bool isRenditionName(std::string_view name) {
    constexpr std::string_view suffix = ".xml";
    return name.size() >= suffix.size() &&
           caseInsensitiveCompare(name.substr(name.size() - suffix.size()), suffix) == 0;
}

std::string copyNameOfRendition(std::string_view name) {
    return Path(name).deletingPathExtension().appendingPathExtension("fcp").str();
}

}  // namespace larkspan
