#include "platform/fake/FakeBundles.h"

#include <algorithm>

namespace larkspan::platform {

std::optional<Bundle> FakeBundles::loadedBundle(const std::string& identifier) {
    if (identifier.empty()) return std::nullopt;
    if (main.identifier() == identifier) return main;
    const auto found = std::ranges::find(around, identifier, &Bundle::identifier);
    return found == around.end() ? std::nullopt : std::optional(*found);
}

std::optional<Bundle> FakeBundles::bundleAtPath(const Path& path) {
    const auto found = installed.find(path);
    if (found == installed.end() || found->second.identifier().empty()) return std::nullopt;
    return found->second;
}

Bundle FakeBundles::bundle(const Path& path, const std::string& identifier) {
    const std::string name = path.deletingPathExtension().lastPathComponent();
    return {.path = path,
            .executable = path / "Contents/MacOS" / name,
            .info = Value::Dictionary{{"CFBundleIdentifier", identifier},
                                      {"CFBundleExecutable", name},
                                      {"ZBCacheVersion", "1"}}};
}

}  // namespace larkspan::platform
