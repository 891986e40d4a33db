#pragma once

#include "discovery/ScannedFolder.h"

namespace larkspan {

// Tells through which links to folders a scan goes, so that a project has the name by which it is
// watched for changes (docs/behaviour.md, own 15). For one scan, on one thread.
class LinkTargets {
  public:
    // What lies in the trees of these is found there without a link, sooner or later.
    explicit LinkTargets(const std::vector<ScannedFolder>& watched);

    // False for a link that leads up to a folder that it lies in (all of that would be looked
    // through, a whole disk maybe), into a watched tree with these types, or to where cannot be
    // told.
    bool isFollowed(const Path& link, const std::vector<std::string>& types) const;

  private:
    bool isFoundIn(const ScannedFolder& tree, const Path& folder) const;

    std::vector<ScannedFolder> watched_;  // by their paths without links
};

}  // namespace larkspan
