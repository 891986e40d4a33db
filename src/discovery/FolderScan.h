#pragma once

#include "discovery/FolderWalk.h"
#include "foundation/Date.h"

#include <optional>

namespace larkspan {

struct ScanResult {
    std::vector<Path> projects;  // in the order of the folders given, then of listings
    bool isComplete = true;      // false when the time was up
};

// Looks through folders, one tree after the other on up to four threads, for projects that are not
// known yet. Links are followed once everything that is no link has been looked through, but not
// into the trees of `watched`, where other scans come by. A project is found once, whatever names
// links give it (docs/behaviour.md, own 15): by the first of the folders, and there by the name
// without a link. Blocks; for one thread at a time.
ScanResult scanForProjects(const std::vector<ScannedFolder>& folders, const KnownProjects& known,
                           const std::vector<ScannedFolder>& watched = {},
                           std::optional<Seconds> atMost = std::nullopt);

}  // namespace larkspan
