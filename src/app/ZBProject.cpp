#include "app/ZBProject.h"

#include "foundation/MessageText.h"
#include "foundation/Text.h"
#include "foundation/Uuid.h"
#include "kit/Preferences.h"
#include "kit/Problems.h"
#include "kit/ZBFileManager.h"
#include "kit/ZBLocalPaths.h"
#include "platform/Files.h"
#include "platform/Platform.h"

namespace larkspan {
namespace {

constexpr const char* finalCutTypeCode = "FCPF";
constexpr unsigned ownersRights = 0700;

platform::Files& files() {
    return platform::Platform::current().files;
}

bool isFinalCut7(const Path& path) {
    return lowercased(path.pathExtension()) == "fcp" || files().typeCode(path) == finalCutTypeCode;
}

// A folder that the helper can write into and that the user can remove.
void ensureFolder(const Path& folder) {
    if (!files().exists(folder) &&
        !ZBFileManager::createDirectory(folder, std::chrono::seconds(10))) {
        rememberProblem("Unable to create folder " + folder.str());
        return;
    }
    if (!files().isWritable(folder) || !files().isDeletable(folder)) {
        const auto info = files().info(folder);  // docs/behaviour.md, own 20
        if (info) ZBFileManager::setPosixPermissions(info->permissions | ownersRights, folder);
    }
}

}  // namespace

ZBProject ZBProject::projectWithPath(const Path& path, const std::optional<Value::Array>& sequences,
                                     const std::optional<ProjectID>& projectID) {
    ZBProject project;
    project.projectPath = path;
    project.projectID = projectID.value_or(ProjectID{generateUUID()});
    if (isFinalCut7(path)) {
        project.type = ProjectType::finalCut7;
        project.sequences = sequences;
    }
    project.updateFriendlyName();
    const auto folder = project.destinationPath();
    if (!folder) return project;
    // The settings come first: with them the folder is a project's, and without them none.
    const Path settings = *folder / storelayout::settingsName;
    ensureFolder(*folder);
    if (!files().exists(settings)) project.saveSettings();
    if (files().exists(settings)) {
        project.updateLocalization();
    } else {
        (void)files().removeEmptyFolder(*folder);
    }
    return project;
}

std::optional<Path> ZBProject::destinationPath() const {
    std::optional<Path> root;
    if (const auto own = Preferences::ownDefaults().string("storagePath")) {
        root = Path(*own);
    } else {
        root = storelayout::storeRoot(Preferences::frontEnd());
    }
    return root ? std::optional(storelayout::projectFolder(*root, projectID)) : std::nullopt;
}

void ZBProject::updateFriendlyName() {
    friendlyName = isCurrentVersionBundle(projectPath)
                       ? projectDisplayName(projectPath)
                       : Path(projectPath.lastPathComponent()).deletingPathExtension().str();
}

void ZBProject::updateLocalization() const {
    const auto folder = destinationPath();
    if (!folder) return;
    const Path localized = *folder / ".localized";
    const Path strings = localized / "en.strings";
    ensureFolder(*folder);
    ensureFolder(localized);
    if (files().exists(strings)) return;
    // A folder without its display name still works; the next record tries again.
    (void)files().writeFileAtomically(strings,
                                      messageText("\"%@\" = \"%@\";", projectID.text, shownName()));
}

void ZBProject::saveSettings() const {
    const auto folder = destinationPath();
    if (!folder) return;
    Value::Dictionary settings{{"projectPath", ZBLocalPaths::expandingTilde(projectPath).str()}};
    if (sequences) settings.emplace("sequences", *sequences);
    if (selectedUUID) settings.emplace("selectedUUID", *selectedUUID);
    const Path file = *folder / storelayout::settingsName;
    if (const auto error = savePropertyList(Value(std::move(settings)), file)) {
        logProblem("Unable to write the settings of project %@: %@", projectPath,
                   error->description);
    }
}

std::string ZBProject::shownName() const {
    return friendlyName.empty() ? projectPath.lastPathComponent() : friendlyName;
}

ComparisonResult ZBProject::nameCompare(const ZBProject& other) const {
    const int order = caseInsensitiveCompare(shownName(), other.shownName());
    if (order == 0) return ComparisonResult::same;
    return order < 0 ? ComparisonResult::ascending : ComparisonResult::descending;
}

void ZBProject::selectSequenceWithUUID(const std::string&) {}

}  // namespace larkspan
