#pragma once

#include "backup/EngineState.h"
#include "backup/ProjectCopy.h"
#include "backup/VersionName.h"
#include "foundation/Path.h"
#include "kit/Preferences.h"

#include <functional>
#include <optional>
#include <string>

namespace larkspan {

// How a version is to be taken.
struct BackupOptions {
    std::optional<std::string> uuid = {};  // a sequence whose XML stands for the whole project's
    bool launchProj = false;               // the editing application may be launched to export XML
    bool force = false;                    // asked for by the user: no least interval, no thinning
    bool partOfBatch = false;              // no notices to the user
};

// Takes one version of one project, from the checks to the notices.
class ProjectBackup {
  public:
    // Asks for a picture of the screen: folder, file name without extension, number.
    using TakeScreenshot = std::function<void(const Path&, const std::string&, VersionNumber)>;

    ProjectBackup(EngineState& state, ProjectCopy& copy, TakeScreenshot takeScreenshot)
        : state_(state), copy_(copy), takeScreenshot_(std::move(takeScreenshot)) {}

    void backupProject(const Path& project, const Path& toPath, VersionNumber withNumber,
                       const BackupOptions& options);

  private:
    bool destinationIsUsable(const Path& toPath, const Preferences& preferences,
                             bool partOfBatch) const;
    void alert(const char* title, const std::string& description, const char* notificationName);

    EngineState& state_;
    ProjectCopy& copy_;
    TakeScreenshot takeScreenshot_;
};

}  // namespace larkspan
