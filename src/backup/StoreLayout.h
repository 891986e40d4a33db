#pragma once

#include "foundation/Path.h"
#include "kit/Preferences.h"

#include <compare>
#include <optional>
#include <string>

namespace larkspan {

// A project's identifier in the version store.
struct ProjectID {
    std::string text;
    friend auto operator<=>(const ProjectID&, const ProjectID&) = default;
};

// Where things lie in the version store:
//   ROOT/ID.localized/{Settings.plist, .localized/en.strings, Versions/, Screenshots/}
namespace storelayout {

inline constexpr const char* settingsName = "Settings.plist";
inline constexpr const char* versionsName = "Versions";
inline constexpr const char* annotationsName = "Annotations.plist";  // the user's notes
inline constexpr const char* screenshotsName = "Screenshots";
inline constexpr const char* folderSuffix = ".localized";

// The preference storagePath, else "Corvane/Larkspan/Projects" under the user's Application
// Support; empty when the user has no such folder.
std::optional<Path> storeRoot(const Preferences& frontEnd);

// "ID.localized".
std::string projectFolderName(const ProjectID& project);
// "ROOT/ID.localized".
Path projectFolder(const Path& root, const ProjectID& project);
// The identifier in the name of a project's folder: the name without its extension.
ProjectID projectID(const Path& projectFolder);

// The folder of the change-list caches; independent of storagePath.
std::optional<Path> cacheFolder();
// "/ID.localized.cache.plist" in it.
Path cacheFile(const Path& cacheFolder, const Path& projectFolder);

}  // namespace storelayout

// What a project is called for people: its file's name, or for a "CurrentVersion.fcpproject" or
// "CurrentVersion.fcpevent" the name of the folder that holds it.
std::string projectDisplayName(const Path& project);
bool isCurrentVersionBundle(const Path& project);

}  // namespace larkspan
