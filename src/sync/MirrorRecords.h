#pragma once

#include "foundation/Path.h"
#include "foundation/Result.h"

#include <optional>
#include <string>
#include <vector>

namespace larkspan {

// What is remembered on disk of the versions in the mirror, in Application Support/Corvane/Larkspan
// (MirrorNames.plist, MirrorRemovals.plist). Processes may write at once, and none loses what
// another wrote; what cannot be written is logged. Any thread.
namespace mirrorrecords {

// The name of a version's file in the mirror: that of its archive where nothing else was noted
// (docs/behaviour.md, own 23). Empty when nothing there belongs to the version; an error when it
// cannot be read whose is what.
Result<std::optional<std::string>> remoteName(const Path& version);
// Notes the name before a file is uploaded under it; empty while it is not known whether anything
// there belongs to the version.
void noteRemoteName(const Path& version, const std::optional<std::string>& name);
// The version's file has the usual name.
void forgetRemoteName(const Path& version);

// Versions whose files are to be removed from the mirror, until that is done (docs/behaviour.md,
// own 24). With each stays the name that its file had when it was removed: a new version may have
// got the same path meanwhile.
std::vector<Path> removals();
// Versions that wait already, and were not uploaded anew, are no further removals.
void addRemovals(const std::vector<Path>& versions);
// The name of the first of the version's files that are to be removed: "" when nothing in the
// mirror belongs to it, nothing when none waits; an error when that cannot be read.
Result<std::optional<std::string>> nameToRemove(const Path& version);
void removalIsDone(const Path& version, const std::string& name);

}  // namespace mirrorrecords

// The usual name of a version's file in the mirror.
std::string archiveName(const Path& version);
// The name that a file gets when those before it are taken: "Cut (2).00003.fcp.zip" is the second
// of "Cut.00003.fcp.zip".
std::string nameOfTry(const std::string& name, int number);

}  // namespace larkspan
