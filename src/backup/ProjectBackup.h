#pragma once

#include "backup/BackupOptions.h"
#include "backup/EngineState.h"
#include "backup/ProjectCopy.h"
#include "backup/VersionName.h"
#include "backup/XMLRendition.h"
#include "foundation/Path.h"
#include "kit/Preferences.h"

#include <functional>
#include <string>

namespace larkspan {

// What became of a request for a version.
enum class BackupOutcome {
    taken,
    unchanged,  // the newest version has it, and has its date now
    notNeeded,  // too soon, or empty
    stillBeingWritten,
    failed,  // said in the log
};

// Takes one version of one project, from the checks to the notices.
class ProjectBackup {
  public:
    // Hands a new version to the mirror.
    using Upload = std::function<void(const Path& version)>;

    // The state, copy and renditions must outlive this.
    ProjectBackup(EngineState& state, ProjectCopy& copy, const XMLRendition& renditions,
                  Upload upload)
        : state_(state), copy_(copy), renditions_(renditions), upload_(std::move(upload)) {}

    BackupOutcome backupProject(const Path& project, const Path& toPath, VersionNumber withNumber,
                                const BackupOptions& options);

  private:
    struct Request {
        const Path& project;
        const Path& expanded;
        const Path& versions;
        VersionNumber number;
        const BackupOptions& options;
    };

    BackupOutcome takeVersion(const Request& request, const Preferences& preferences);
    bool destinationIsUsable(const Path& toPath, const Preferences& preferences,
                             bool partOfBatch) const;
    void alert(const char* title, const std::string& description, const char* notificationName);

    EngineState& state_;
    ProjectCopy& copy_;
    const XMLRendition& renditions_;
    Upload upload_;
};

}  // namespace larkspan
