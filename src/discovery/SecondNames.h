#pragma once

#include "discovery/FolderWalk.h"

namespace larkspan {

// The found projects, in their order, without those that a link makes another name of a known
// project or of an earlier one. Files that are one without a link (hard links) stay: the next save
// makes them two.
std::vector<Path> withoutSecondNames(const std::vector<Path>& found, const KnownProjects& known);

}  // namespace larkspan
