#pragma once

#include "foundation/Path.h"
#include "foundation/Value.h"

#include <optional>
#include <string>
#include <vector>

namespace larkspan::platform {

// A bundle folder: NAME.app/Contents/{Info.plist, MacOS/EXECUTABLE}.
struct Bundle {
    Path path = {};
    Path executable =
        {};           // as its Info.plist names it; for the running program its real executable
    Value info = {};  // Info.plist; an empty dictionary when it cannot be read

    // A string of Info.plist; "" when it is missing.
    std::string infoString(const char* key) const;
    std::string identifier() const { return infoString("CFBundleIdentifier"); }
};

// The bundle folders that the path of an executable lies in, innermost first, by the text of the
// path alone: every NAME.app that is followed by Contents and something in it.
std::vector<Path> bundlePathsAround(const Path& executable);

// The running program's bundle and those around it. Any thread.
class Bundles {
  public:
    virtual ~Bundles() = default;

    // The bundle that encloses the running executable. A program that runs from no bundle gives
    // its folder as path and an empty Info.plist.
    virtual Bundle mainBundle() = 0;

    // The bundle around the running executable with that identifier (the innermost, or one that
    // encloses it); empty when none has it.
    virtual std::optional<Bundle> loadedBundle(const std::string& identifier) = 0;

    // The bundle at a path, read afresh; empty when there is no Info.plist with an identifier.
    virtual std::optional<Bundle> bundleAtPath(const Path& path) = 0;
};

}  // namespace larkspan::platform
