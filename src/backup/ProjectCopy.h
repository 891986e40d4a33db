#pragma once

#include "backup/EngineState.h"
#include "backup/VersionName.h"
#include "foundation/Error.h"
#include "foundation/Path.h"

#include <functional>
#include <optional>

namespace larkspan {

// Failures that the engine makes itself. Code 0: nothing was done and nothing is wrong.
inline constexpr const char* backupErrorDomain = "ZBLarkspanErrorDomain";

inline bool isSilentSkip(const Error& error) {
    return error.is(backupErrorDomain, 0);
}

// Copies one project into its version folder.
class ProjectCopy {
  public:
    // Called with the full path of each new copy.
    using CopyMade = std::function<void(const Path& copy)>;

    ProjectCopy(EngineState& state, CopyMade copyMade)
        : state_(state), copyMade_(std::move(copyMade)) {}

    // Copies the project (a file or a bundle folder) under the number, or the next one that is
    // free; waits first until the file is at rest. A file that changes while it is copied is
    // waited for and copied again, a few times at most. Empty on success; a silent skip for an
    // empty file and for one whose copy is under way already.
    std::optional<Error> backupProjectFile(const Path& project, const Path& toPath,
                                           VersionNumber withNumber);

  private:
    std::optional<Error> copyUnderFreeName(const Path& project, const Path& folder,
                                           VersionNumber number);

    EngineState& state_;
    CopyMade copyMade_;
};

}  // namespace larkspan
