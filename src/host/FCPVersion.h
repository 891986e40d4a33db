#pragma once

#include <string>
#include <string_view>

namespace larkspan {

// Which Final Cut Pro is installed and what of the interchange format it understands. Operations
// without state; any thread.
class FCPVersion {
  public:
    // The installed application's short version, for example "7.0.3". "7.0" when it has no
    // Info.plist or is not installed, "" when its Info.plist does not tell.
    static std::string finalCutProVersionString();
    static int finalCutProMajorVersion();
    // The highest version of the XML interchange format. Throws std::out_of_range where
    // maximumXMEMLVersionOf() does.
    static int maximumXMEMLVersion();

    // The first digit alone of a version with two or more characters, deliberately: the editions
    // of this application have one. 7 for "".
    static int majorVersionOf(std::string_view version);
    // Throws std::out_of_range for a version without a dot, deliberately: no edition has one.
    static int maximumXMEMLVersionOf(std::string_view version);
};

}  // namespace larkspan
