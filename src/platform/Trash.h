#pragma once

#include "foundation/Error.h"
#include "foundation/Path.h"

#include <optional>

namespace larkspan::platform {

// The user's Trash, from which a file manager can restore what was put there. Any thread.
class Trash {
  public:
    virtual ~Trash() = default;

    // Moves a file, a link or a folder with all it holds there, also from another file system. An
    // item of the same name that is in the Trash already stays. On failure the item is where it
    // was, or, when all that failed was removing it after it had been copied, in the Trash as well.
    // Errors have posixErrorDomain (ENOENT for a missing item) where the system gives a
    // number.
    virtual std::optional<Error> recycle(const Path& item) = 0;
};

}  // namespace larkspan::platform
