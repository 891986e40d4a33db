#pragma once

#include "app/ChangedFolders.h"

#include <unordered_map>
#include <vector>

namespace larkspan {

// The projects that are known by a name that leads through links. Changes below the folder that a
// link leads to are told by one name, which need not be the one that the project is known by
// (docs/behaviour.md, own 31). One thread at a time.
class LinkedNames {
  public:
    // Looks where the projects are, in place of what was known of them.
    void note(const std::vector<Path>& projects);
    void forget() { realPaths_.clear(); }

    // The project's path without links; null when that is the same, or is not known.
    const Path* realPath(const Path& project) const;

  private:
    std::unordered_map<Path, Path> realPaths_;
};

// The folders and, where links lead to them, their other names without links.
ChangedFolders withRealNames(const ChangedFolders& folders);

}  // namespace larkspan
