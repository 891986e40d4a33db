#pragma once

#include "platform/Bundles.h"

#include <map>

namespace larkspan::platform {

// Bundles that tests put in place. Change them before other threads look.
class FakeBundles final : public Bundles {
  public:
    Bundle mainBundle() override { return main; }
    std::optional<Bundle> loadedBundle(const std::string& identifier) override;
    std::optional<Bundle> bundleAtPath(const Path& path) override;

    // A bundle with that identifier whose executable is named after its folder.
    static Bundle bundle(const Path& path, const std::string& identifier);

    Bundle main = bundle(Path("/Applications/Larkspan.app/Contents/LarkspanHelper.app"),
                         "com.corvane.LarkspanHelper");
    std::vector<Bundle> around = {
        bundle(Path("/Applications/Larkspan.app"), "com.corvane.Larkspan")};  // innermost first
    std::map<Path, Bundle> installed;
};

}  // namespace larkspan::platform
