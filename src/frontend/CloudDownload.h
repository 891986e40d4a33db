#pragma once

#include "frontend/Command.h"
#include "sync/CloudService.h"

#include <optional>

namespace larkspan {

// Downloads a version from the cloud to a path where nothing is: what was packed comes as it was
// before. It appears whole or not at all. Shows the progress and serves the main thread until it
// has ended. Empty on success.
std::optional<Error> downloadVersion(const RemotePath& file, const Path& target,
                                     const CloudSettings& settings, Context& context);

// Of what was unpacked into a folder, the version: the one file in it that has the version's name,
// or, for a version that is a folder, the folder itself.
Path unpackedVersion(const Path& folder, const std::string& versionName);

}  // namespace larkspan
