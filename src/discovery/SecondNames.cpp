#include "discovery/SecondNames.h"

#include "platform/Platform.h"

#include <algorithm>
#include <map>
#include <unordered_map>

namespace larkspan {
namespace {

platform::Files& files() {
    return platform::Platform::current().files;
}

// Tells whether a path leads through a link, its last component included. Remembers the folders.
class Links {
  public:
    bool areOnTheWayTo(const Path& path) {
        const auto info = files().linkInfo(path);
        if (info && info->kind == platform::EntryKind::symbolicLink) return true;
        const Path folder = path.deletingLastPathComponent();
        if (folder.empty() || folder == path) return false;
        const auto known = folders_.find(folder);
        if (known != folders_.end()) return known->second;
        const bool leads = areOnTheWayTo(folder);
        folders_.emplace(folder, leads);
        return leads;
    }

  private:
    std::unordered_map<Path, bool> folders_;
};

}  // namespace

std::vector<Path> withoutSecondNames(const std::vector<Path>& found, const KnownProjects& known) {
    std::vector<Path> kept;
    if (found.empty()) return kept;
    std::multimap<platform::FileIdentity, Path> names;
    for (const Path& path : known) {
        if (const auto info = files().info(path)) names.emplace(info->identity, path);
    }
    Links links;
    KnownProjects taken;
    const auto isSecondName = [&](const Path& path, const platform::FileIdentity& identity) {
        const auto [first, last] = names.equal_range(identity);
        return std::any_of(first, last, [&](const auto& other) {
            return links.areOnTheWayTo(path) || links.areOnTheWayTo(other.second);
        });
    };
    for (const Path& path : found) {
        if (!taken.insert(path).second) continue;
        const auto info = files().info(path);
        if (info && isSecondName(path, info->identity)) continue;
        if (info) names.emplace(info->identity, path);
        kept.push_back(path);
    }
    return kept;
}

}  // namespace larkspan
