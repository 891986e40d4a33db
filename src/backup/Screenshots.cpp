#include "backup/Screenshots.h"

#include "kit/ZBFileManager.h"
#include "kit/ZBLog.h"
#include "platform/Files.h"
#include "platform/Platform.h"
#include "platform/Screen.h"

namespace larkspan {
namespace {

constexpr platform::PictureForm pictureForm{.largestWidth = 1024, .compressionFactor = 0.7};

}  // namespace

bool screenshots::areWanted(const Preferences& frontEnd) {
    return frontEnd.integer("takeScreenshots", 1) == 1;
}

Path screenshots::picturePath(const Path& folder, const std::string& filename,
                              VersionNumber number) {
    const Path base = Path(filename).deletingPathExtension();
    return Path(messageText("%@/%@.%@.jpg", folder, base, padNumber(number)));
}

std::optional<Path> takeScreenshot(const Path& folder, const std::string& filename,
                                   VersionNumber backupNumber) {
    if (!screenshots::areWanted(Preferences::frontEnd())) return std::nullopt;
    auto& platform = platform::Platform::current();
    if (!platform.files.exists(folder)) (void)ZBFileManager::createDirectory(folder);

    Path path = screenshots::picturePath(folder, filename, backupNumber);
    ZBLog::appendLog("screenshot path1: %@", path);
    while (platform.files.exists(path)) {
        backupNumber = backupNumber.next();
        path = screenshots::picturePath(folder, filename, backupNumber);
    }
    ZBLog::appendLog("screenshot path2: %@", path);
    const auto picture = platform.screen.captureJPEG(pictureForm);
    if (!picture || platform.files.writeFileAtomically(path, *picture)) return std::nullopt;
    return path;
}

}  // namespace larkspan
