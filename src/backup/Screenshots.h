#pragma once

#include "backup/VersionName.h"
#include "foundation/Path.h"
#include "kit/Preferences.h"

#include <string>

namespace larkspan {

// Pictures of the user's screen, one beside each version.
namespace screenshots {

// Whether the user wants them: the preference takeScreenshots is missing or 1.
bool areWanted(const Preferences& frontEnd);

// "FOLDER/Cut.00004.jpg" for "Cut.00004" and 4: the name loses one extension and gets the number
// back, padded.
Path picturePath(const Path& folder, const std::string& filename, VersionNumber number);

}  // namespace screenshots

// Takes a picture of the screen, if the user wants one, and keeps it as a JPEG of at most 1024
// pixels in width in a folder, which is made where it is missing. Named after `filename` and the
// number, or the next number that has no picture yet. Says in the log where it would lie; that
// there is no picture, for whatever reason, is said nowhere. Gives the path of the picture that was
// kept. Takes a few seconds at most; not for the main thread.
std::optional<Path> takeScreenshot(const Path& folder, const std::string& filename,
                                   VersionNumber backupNumber);

}  // namespace larkspan
