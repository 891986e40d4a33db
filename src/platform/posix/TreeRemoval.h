#pragma once

#include "platform/posix/FileCalls.h"

namespace larkspan::platform {

// Removes an entry of an open folder with everything in it. Links are not followed; folders of
// ours that lack the rights for it get them. `path` is the entry's, for the error's text.
std::optional<Error> removeTree(const FileCalls& calls, int folder, const char* name,
                                const Path& path);

// The same for a path. A folder is first moved to a temporary name, so that it goes whole: a
// process killed in between leaves nothing under the old name. When something in it cannot be
// removed, what is left goes back to its name.
std::optional<Error> removePath(const FileCalls& calls, const Path& path);

}  // namespace larkspan::platform
