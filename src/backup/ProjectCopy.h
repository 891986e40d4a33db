#pragma once

#include "backup/EngineState.h"
#include "backup/VersionName.h"
#include "foundation/Path.h"
#include "foundation/Result.h"
#include "platform/Files.h"

namespace larkspan {

// Failures that the engine makes itself. Code 0: nothing was done and nothing is wrong.
inline constexpr const char* backupErrorDomain = "ZBLarkspanErrorDomain";

inline bool isSilentSkip(const Error& error) {
    return error.is(backupErrorDomain, 0);
}

inline bool isStillBeingWritten(const Error& error) {
    return error.is(platform::filesErrorDomain, platform::sourceChangedDuringCopy);
}

// Copies one project into its version folder.
class ProjectCopy {
  public:
    explicit ProjectCopy(EngineState& state) : state_(state) {}

    // Copies the project (a file or a bundle folder) under the number, or the next one that is
    // free, and gives the path of the copy. Waits for nothing: of a file that changes while it is
    // copied the copy is dropped (isStillBeingWritten). A silent skip for an empty file and for one
    // whose copy is under way already.
    Result<Path> backupProjectFile(const Path& project, const Path& toPath,
                                   VersionNumber withNumber);

  private:
    EngineState& state_;
};

}  // namespace larkspan
