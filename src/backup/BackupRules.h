#pragma once

#include "foundation/Date.h"
#include "kit/Preferences.h"

#include <optional>

namespace larkspan {

// Decisions of a batch run and of a single backup, as functions of values.

// A version is taken when the project file's date is strictly later than the newest version's.
// Contents are not looked at: equal saves are found by the duplicate check.
inline bool isNewer(Date projectFile, Date newestVersion) {
    return projectFile > newestVersion;
}

// The least time between two versions; none when it is switched off.
std::optional<std::chrono::minutes> minimumInterval(const Preferences& frontEnd);

// Whether a backup comes too soon after the newest version.
bool isTooSoon(Date newestVersion, Date now, std::chrono::minutes minimum);

// Keeps a run from flooding the user with notices: at most the first three backups of a run may
// alert, and none while an alert is less than 1.5 seconds old.
class AlertThrottle {
  public:
    AlertThrottle(std::optional<Date> lastAlertShown, Date now);

    // Whether the next backup of the run is part of the batch, and so keeps silent. `backedUp` is
    // its place in the run, counted from 1.
    bool isPartOfBatch(long backedUp);

  private:
    bool silent_;
};

// The front-end is told after every tenth backup of a run.
inline bool isNotificationDue(long backedUp) {
    return backedUp % 10 == 0;
}

}  // namespace larkspan
