#pragma once

#include "discovery/PathLinks.h"
#include "discovery/ScannedFolder.h"

#include <optional>
#include <string>
#include <vector>

namespace larkspan {

// Tells through which links to folders a scan goes, so that a project has one name whatever links
// lead to it (docs/behaviour.md, own 15). For one scan, on one thread.
class LinkTargets {
  public:
    // What lies in the trees of these is found there without a link, sooner or later.
    explicit LinkTargets(const std::vector<ScannedFolder>& watched);

    // False for a link that leads up to a folder that it lies in (all of that would be looked
    // through, a whole disk maybe), into a watched tree with these types, or to where cannot be
    // told.
    bool isFollowed(const Path& link, const std::vector<std::string>& types) const;

    // The folder's name without the links in it that lead into watched trees with these types.
    Path nameOf(const Path& folder, const std::vector<std::string>& types);

  private:
    struct Tree {
        Path name;  // as given
        Path real;  // without links
        std::vector<std::string> types;
    };
    // The name in a watched tree of a path without links.
    std::optional<Path> nameInTrees(const Path& real, const std::vector<std::string>& types) const;

    std::vector<Tree> watched_;
    PathLinks links_;
};

}  // namespace larkspan
