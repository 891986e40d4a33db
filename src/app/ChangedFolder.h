#pragma once

#include "foundation/Path.h"

namespace larkspan {

// A folder in which something changed.
struct ChangedFolder {
    Path path;                    // without a slash at its end
    bool withSubfolders = false;  // what lies below it may have changed as well
};

}  // namespace larkspan
