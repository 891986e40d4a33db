#pragma once

#include "backup/StoreLayout.h"
#include "foundation/Path.h"
#include "foundation/Value.h"

#include <optional>
#include <string>

namespace larkspan {

// 1 is never used.
enum class ProjectType { finalCut7 = 0, other = 2 };

enum class ComparisonResult { ascending = -1, same = 0, descending = 1 };

// The record of one watched project. Making one is what makes a project part of the version store:
// it creates the project's folder there, gives that folder a display name and writes the project's
// settings. What fails on the way is tried again when the next record of the identifier is made.
class ZBProject {
  public:
    // Without an identifier a new one is generated, so two calls for one path make two projects.
    // `sequences` are kept for Final Cut Pro 7 projects only.
    static ZBProject projectWithPath(const Path& path,
                                     const std::optional<Value::Array>& sequences = std::nullopt,
                                     const std::optional<ProjectID>& projectID = std::nullopt);

    std::string friendlyName;
    Path projectPath;
    std::optional<Value::Array> sequences;
    std::optional<std::string> selectedUUID;
    ProjectType type = ProjectType::other;
    ProjectID projectID;

    // The project's folder in the store; empty when the user has no store. The root is the value
    // of storagePath in the helper's own defaults, else in the front-end's preferences, else the
    // default; it is not tilde-expanded.
    std::optional<Path> destinationPath() const;

    // Takes the display name from the path: the file's name without extension, or the name of the
    // folder around a "CurrentVersion" bundle.
    void updateFriendlyName();
    // Creates the project's folder and the file that names it in file browsers; an existing one is
    // never rewritten.
    void updateLocalization() const;
    // Writes Settings.plist, replacing the one that is there.
    void saveSettings() const;

    // Case-insensitive comparison of the display names, for sorting.
    ComparisonResult nameCompare(const ZBProject& other) const;
    // Does nothing; the selected sequence is the front-end's business.
    void selectSequenceWithUUID(const std::string& uuid);

  private:
    std::string shownName() const;
};

}  // namespace larkspan
