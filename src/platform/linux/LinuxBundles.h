#pragma once

#include "platform/Bundles.h"

#include <string>
#include <vector>

namespace larkspan::platform {

// The path of this process's executable. After an update has replaced the file it is the path
// under which the process was started.
Path executableOfThisProcess();

// The bundle at a path with what its Info.plist says. One that is missing, torn or no dictionary
// counts as empty.
Bundle readBundle(const Path& path);

// The bundles around an executable are read once, when this is made: an update that replaces them
// on disk does not change what is running.
class LinuxBundles final : public Bundles {
  public:
    explicit LinuxBundles(const Path& executable = executableOfThisProcess());

    Bundle mainBundle() override { return enclosing_.front(); }
    std::optional<Bundle> loadedBundle(const std::string& identifier) override;
    std::optional<Bundle> bundleAtPath(const Path& path) override;

  private:
    std::vector<Bundle> enclosing_;  // innermost first, never empty
};

}  // namespace larkspan::platform
