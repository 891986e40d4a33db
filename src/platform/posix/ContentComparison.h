#pragma once

#include "foundation/Path.h"

namespace larkspan::platform {

// As Files::contentsEqual.
bool contentsEqual(const Path& one, const Path& other);

}  // namespace larkspan::platform
