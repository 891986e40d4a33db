#pragma once

#include "foundation/Path.h"

#include <string_view>

namespace larkspan {

// What follows the last dot of a name, "" where there is none or it is the first character.
std::string_view extensionOf(std::string_view name);

// Whether a folder of that name is never looked into, not even when it is a watch folder.
bool isIgnoredFolder(std::string_view name);

// Whether a folder of that name can be a project itself: a package other than a library.
bool canBeProject(std::string_view folderName);

// Whether a folder of that name below a watch folder is looked into.
bool isLookedInto(std::string_view name);

// Whether the folder is the watch folder or lies below it where folders are looked into, by names.
bool isReached(const Path& folder, const Path& watchFolder);

}  // namespace larkspan
