#pragma once

#include "foundation/Path.h"

namespace larkspan::platform {

// A path that other processes write in their own way (HOME, the XDG variables), without what names
// no folder of its own: empty components, ".", slashes at the end. ".." stays, since what it means
// depends on links.
Path standardizedPath(const Path& path);

}  // namespace larkspan::platform
