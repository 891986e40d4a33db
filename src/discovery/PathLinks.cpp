#include "discovery/PathLinks.h"

#include "platform/Files.h"
#include "platform/Platform.h"

namespace larkspan {

bool PathLinks::areOnTheWayTo(const Path& path) {
    const auto info = platform::Platform::current().files.linkInfo(path);
    if (info && info->kind == platform::EntryKind::symbolicLink) return true;
    const Path folder = path.deletingLastPathComponent();
    if (folder.empty() || folder == path) return false;
    const auto known = folders_.find(folder);
    if (known != folders_.end()) return known->second;
    const bool leads = areOnTheWayTo(folder);
    folders_.emplace(folder, leads);
    return leads;
}

}  // namespace larkspan
