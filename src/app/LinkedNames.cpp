#include "app/LinkedNames.h"

#include "discovery/PathLinks.h"
#include "platform/Files.h"
#include "platform/Platform.h"

namespace larkspan {
namespace {

platform::Files& files() {
    return platform::Platform::current().files;
}

}  // namespace

void LinkedNames::note(const std::vector<Path>& projects) {
    PathLinks links;
    for (const Path& project : projects) {
        realPaths_.erase(project);
        if (!links.areOnTheWayTo(project)) continue;
        if (auto real = files().realPath(project)) realPaths_.emplace(project, std::move(*real));
    }
}

const Path* LinkedNames::realPath(const Path& project) const {
    const auto found = realPaths_.find(project);
    return found == realPaths_.end() ? nullptr : &found->second;
}

ChangedFolders withRealNames(const ChangedFolders& folders) {
    ChangedFolders all = folders;
    PathLinks links;
    for (const ChangedFolder& folder : folders.folders()) {
        if (!links.areOnTheWayTo(folder.path)) continue;
        if (auto real = files().realPath(folder.path)) {
            all.add({std::move(*real), folder.withSubfolders});
        }
    }
    return all;
}

}  // namespace larkspan
