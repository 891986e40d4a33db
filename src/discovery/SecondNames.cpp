#include "discovery/SecondNames.h"

#include "discovery/PathLinks.h"
#include "platform/Platform.h"

#include <algorithm>
#include <map>

namespace larkspan {
namespace {

platform::Files& files() {
    return platform::Platform::current().files;
}

}  // namespace

std::vector<Path> withoutSecondNames(const std::vector<Path>& found, const KnownProjects& known) {
    std::vector<Path> kept;
    if (found.empty()) return kept;
    std::multimap<platform::FileIdentity, Path> names;
    for (const Path& path : known) {
        if (const auto info = files().info(path)) names.emplace(info->identity, path);
    }
    PathLinks links;
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
