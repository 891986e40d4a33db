#include "platform/linux/LinuxBundles.h"

#include "foundation/PropertyList.h"
#include "platform/linux/ProcessTable.h"
#include "platform/posix/SmallFile.h"

#include <algorithm>
#include <utility>

#include <unistd.h>

namespace larkspan::platform {

Bundle readBundle(const Path& path) {
    Bundle bundle{.path = path};
    const std::optional<std::string> content = readSmallFile(path / "Contents/Info.plist");
    if (!content) return bundle;
    Result<Value> parsed = parsePropertyList(*content);
    if (parsed && parsed->dictionary()) bundle.info = std::move(parsed).value();
    const std::string name = bundle.infoString("CFBundleExecutable");
    if (!name.empty()) bundle.executable = path / "Contents/MacOS" / name;
    return bundle;
}

Path executableOfThisProcess() {
    return executableOfProcess(::getpid()).value_or(Path());
}

LinuxBundles::LinuxBundles(const Path& executable) {
    for (const Path& path : bundlePathsAround(executable)) enclosing_.push_back(readBundle(path));
    if (enclosing_.empty()) {
        enclosing_.push_back({.path = executable.deletingLastPathComponent()});
    }
    enclosing_.front().executable = executable;
}

std::optional<Bundle> LinuxBundles::loadedBundle(const std::string& identifier) {
    if (identifier.empty()) return std::nullopt;
    const auto found = std::ranges::find(enclosing_, identifier, &Bundle::identifier);
    return found == enclosing_.end() ? std::nullopt : std::optional(*found);
}

std::optional<Bundle> LinuxBundles::bundleAtPath(const Path& path) {
    Bundle bundle = readBundle(path);
    if (bundle.identifier().empty()) return std::nullopt;
    return bundle;
}

}  // namespace larkspan::platform
