#pragma once

#include "foundation/Date.h"
#include "kit/Preferences.h"

#include <optional>

namespace larkspan {

// Decisions of a batch run and of a single backup, as functions of values.

// How a project file's date stands to its newest version's.
enum class Newness {
    same,   // it is the version's, or the one that the store's file system rounded up to it
    newer,  // it was saved since
    // Clocks were set, or the file was brought back from elsewhere: dates cannot tell whether the
    // store has this state (docs/behaviour.md, own 27).
    older,
};
Newness newness(Date projectFile, Date newestVersion);

// Whether saves that changed nothing are to make no version.
bool skipsUnchangedSaves(const Preferences& frontEnd);

// The least time between two versions; none when it is switched off.
std::optional<std::chrono::minutes> minimumInterval(const Preferences& frontEnd);

// Whether a backup comes too soon after the newest version. A version from the future, as it is
// after the clock was set back, holds nothing up.
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
