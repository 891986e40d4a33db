#pragma once

#include "foundation/Error.h"
#include "foundation/Path.h"
#include "foundation/Result.h"

#include <functional>
#include <optional>
#include <string>

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

    // Gives an item that somebody else is to move there a name in the Trash of the user's home:
    // the first one of `nameForTry` (called with 1, 2, ...) that nothing has. Nothing else gets it
    // until giveUp(), which is for an item that does not come. Returns the whole path.
    virtual Result<Path> reserve(const Path& item,
                                 const std::function<std::string(int)>& nameForTry) = 0;
    virtual void giveUp(const Path& reserved) = 0;
};

}  // namespace larkspan::platform
