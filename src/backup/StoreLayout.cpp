#include "backup/StoreLayout.h"

#include "foundation/MessageText.h"
#include "kit/ZBLocalPaths.h"

namespace larkspan {
namespace storelayout {
namespace {

std::optional<Path> inAppSupport(const char* folder) {
    const auto appSupport = ZBLocalPaths::appSupportDirectory(UserDomain::yes);
    if (!appSupport) return std::nullopt;
    return *appSupport / folder;
}

}  // namespace

std::optional<Path> storeRoot(const Preferences& frontEnd) {
    if (const auto chosen = frontEnd.string("storagePath")) return Path(*chosen);
    return inAppSupport("Corvane/Larkspan/Projects");
}

std::string projectFolderName(const ProjectID& project) {
    return project.text + folderSuffix;
}

Path projectFolder(const Path& root, const ProjectID& project) {
    return Path(messageText("%@/%@.localized", root, project.text));
}

ProjectID projectID(const Path& projectFolder) {
    return {Path(projectFolder.lastPathComponent()).deletingPathExtension().str()};
}

std::optional<Path> cacheFolder() {
    return inAppSupport("Corvane/Larkspan/Caches");
}

Path cacheFile(const Path& cacheFolder, const Path& projectFolder) {
    return cacheFolder / messageText("/%@.cache.plist", projectFolder.lastPathComponent());
}

}  // namespace storelayout

bool isCurrentVersionBundle(const Path& project) {
    const std::string name = project.lastPathComponent();
    return name == "CurrentVersion.fcpproject" || name == "CurrentVersion.fcpevent";
}

std::string projectDisplayName(const Path& project) {
    return isCurrentVersionBundle(project) ? project.deletingLastPathComponent().lastPathComponent()
                                           : project.lastPathComponent();
}

}  // namespace larkspan
