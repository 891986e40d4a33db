#pragma once

#include "foundation/Path.h"

#include <optional>
#include <string>

namespace larkspan::platform {

// The content of a regular file, /proc and the like included; empty when it cannot be read or is
// larger than `largest` bytes. For the system's own small files.
std::optional<std::string> readSmallFile(const Path& path, size_t largest = 1024UL * 1024);

// Where a symbolic link points to; empty when it cannot be read.
std::optional<Path> readLink(const Path& path);

}  // namespace larkspan::platform
