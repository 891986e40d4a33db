#pragma once

#include "discovery/FolderWalk.h"
#include "foundation/Date.h"

#include <optional>

namespace larkspan {

// Where to look for projects, and with which types (typeList).
struct ScannedFolder {
    Path folder;
    std::vector<std::string> types;
    WithSubfolders withSubfolders = WithSubfolders::yes;

    friend bool operator==(const ScannedFolder&, const ScannedFolder&) = default;
};

struct ScanResult {
    std::vector<Path> projects;  // in the order of the folders given, then of listings
    bool isComplete = true;      // false when the time was up
};

// Looks through folders, one tree after the other on up to four threads, for projects that are not
// known yet. Links are followed once everything that is no link has been looked through. A project
// is found once, whatever names links give it (docs/behaviour.md, own 15): by the first of the
// folders, and there by the name without a link. Blocks; for one thread at a time.
ScanResult scanForProjects(const std::vector<ScannedFolder>& folders, const KnownProjects& known,
                           std::optional<Seconds> atMost = std::nullopt);

}  // namespace larkspan
