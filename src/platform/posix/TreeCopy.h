#pragma once

#include "platform/posix/FileCalls.h"

namespace larkspan::platform {

// Copies a file or a folder tree to a path where nothing is, as Files::copyItem. When a tree has
// been copied, everything in it is looked at once more, so that the copy shows the tree as it was
// at one moment, or fails.
std::optional<Error> copyPath(const FileCalls& calls, const Path& source, const Path& target);

}  // namespace larkspan::platform
