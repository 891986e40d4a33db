#pragma once

#include "foundation/Path.h"

#include <unordered_map>

namespace larkspan {

// Tells which paths lead through links. Looks at every folder once and remembers it: for one run
// over many paths. One thread at a time.
class PathLinks {
  public:
    // Whether the path, its last component included, leads through a link. False also for what
    // cannot be told.
    bool areOnTheWayTo(const Path& path);

  private:
    std::unordered_map<Path, bool> folders_;
};

}  // namespace larkspan
