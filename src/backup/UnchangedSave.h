#pragma once

#include "backup/ProjectList.h"
#include "foundation/Path.h"
#include "platform/Files.h"

namespace larkspan {

// Saves that leave a project as one of its versions has it (docs/behaviour.md, own 2 and 27). Used
// from the scan queue.
namespace unchangedsave {

// Whether the project holds what its newest version holds; sizes first, then bytes, of a folder
// the whole tree. False also when anything cannot be read, and when the project was written to
// meanwhile. `info` is what was known of the project before.
bool equalsVersion(const Path& project, const platform::FileInfo& info, const Path& version);

// Gives the newest version, its rendition included, the project's date, so that later runs need
// not compare them.
void dateVersion(const Path& versions, const std::string& newestName,
                 const platform::FileInfo& project);

// Whether any version holds what the project holds, those of its date first.
bool isInStore(const Path& project, const platform::FileInfo& info, const Path& versions);

// The copy that an entry of a version folder stands for: of a rendition, the project's copy of its
// number where there is one.
std::string copyOf(const Path& versions, const std::string& name);

}  // namespace unchangedsave

}  // namespace larkspan
