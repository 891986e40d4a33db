#include "frontend/Suggestions.h"

#include "foundation/Text.h"

#include <algorithm>

namespace larkspan {

size_t editDistance(std::string_view from, std::string_view to) {
    const std::string a = lowercased(from);
    const std::string b = lowercased(to);
    // The last three rows of the table of distances between beginnings.
    std::vector<size_t> before(b.size() + 1);
    std::vector<size_t> above(b.size() + 1);
    std::vector<size_t> row(b.size() + 1);
    for (size_t at = 0; at <= b.size(); ++at) above[at] = at;
    for (size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t change = a[i - 1] == b[j - 1] ? 0 : 1;
            row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + change});
            const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (swapped) row[j] = std::min(row[j], before[j - 2] + 1);
        }
        before.swap(above);
        above.swap(row);
    }
    return above[b.size()];
}

std::string nearest(const std::vector<std::string>& candidates, std::string_view wanted) {
    const std::string* best = nullptr;
    size_t least = std::max<size_t>(1, wanted.size() / 3) + 1;
    for (const std::string& candidate : candidates) {
        const bool isStart =
            wanted.size() >= 3 && lowercased(candidate).starts_with(lowercased(wanted));
        const size_t distance = isStart ? 1 : editDistance(candidate, wanted);
        if (distance >= least) continue;
        least = distance;
        best = &candidate;
    }
    return best ? *best : std::string();
}

std::string didYouMean(const std::vector<std::string>& candidates, std::string_view wanted) {
    const std::string best = nearest(candidates, wanted);
    return best.empty() ? best : " Did you mean \"" + best + "\"?";
}

}  // namespace larkspan
