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

// Takes one version of one project, from the checks to the notices.
class ProjectBackup {
  public:
    // Asks for a picture of the screen: folder, file name without extension, number.
    using TakeScreenshot = std::function<void(const Path&, const std::string&, VersionNumber)>;

    // The state, copy and renditions must outlive this.
    ProjectBackup(EngineState& state, ProjectCopy& copy, const XMLRendition& renditions,
                  TakeScreenshot takeScreenshot)
        : state_(state),
          copy_(copy),
          renditions_(renditions),
          takeScreenshot_(std::move(takeScreenshot)) {}

    void backupProject(const Path& project, const Path& toPath, VersionNumber withNumber,
                       const BackupOptions& options);

  private:
    bool destinationIsUsable(const Path& toPath, const Preferences& preferences,
                             bool partOfBatch) const;
    void alert(const char* title, const std::string& description, const char* notificationName);

    EngineState& state_;
    ProjectCopy& copy_;
    const XMLRendition& renditions_;
    TakeScreenshot takeScreenshot_;
};

}  // namespace larkspan
