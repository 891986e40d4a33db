#include "kit/ZBFileManager.h"
#include "kit/ZBLog.h"
#include "platform/Archives.h"
#include "platform/Files.h"
#include "platform/Platform.h"
#include "platform/Trash.h"

namespace larkspan {

using platform::Platform;

bool ZBFileManager::compressFile(const Path& file, const Path& toDestinationFile,
                                 IncludeParent includeParent) {
    (void)trashFile(toDestinationFile);
    const auto error = Platform::current().archives.pack(file, toDestinationFile, includeParent);
    if (error) ZBLog::appendLog("Error compressing file: %@", error->description);
    // What could not be trashed is an old archive, not this one.
    return !error && Platform::current().files.exists(toDestinationFile);
}

bool ZBFileManager::decompressFile(const Path& file, const Path& toDestinationFolder) {
    platform::Files& files = Platform::current().files;
    if (files.linkInfo(toDestinationFolder)) {
        const auto refused = Platform::current().trash.recycle(toDestinationFolder);
        if (refused) ZBLog::appendLog("Error decompressing file: %@", refused->description);
        if (refused) return false;
    }
    const auto error = Platform::current().archives.unpack(file, toDestinationFolder);
    if (error) ZBLog::appendLog("Error decompressing file: %@", error->description);
    return !error && files.isFolder(toDestinationFolder);
}

}  // namespace larkspan
