#pragma once

#include "foundation/Path.h"
#include "frontend/Store.h"

#include <string>
#include <vector>

namespace larkspan {

// The projects that a user may mean by a text. The first of these rules that finds any decides:
// the identifier; the path of the project file, from the current folder where it is relative; the
// display name, with or without its extension; the same whatever the case; the start of an
// identifier. More than one project means that the text is ambiguous, none that it is unknown.
std::vector<StoredProject> projectsMeantBy(const std::string& text,
                                           const std::vector<StoredProject>& projects,
                                           const Path& currentDirectory);

// The path as a folder or file is kept in the preferences: absolute, without empty components,
// "." and "..", and without a slash at its end. Links are not resolved: ".." goes up the text.
Path absolutePath(const std::string& text, const Path& currentDirectory);

}  // namespace larkspan
