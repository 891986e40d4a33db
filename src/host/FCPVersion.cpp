#include "host/FCPVersion.h"

#include "foundation/Text.h"
#include "host/FinalCutPro.h"
#include "kit/Preferences.h"
#include "kit/ZBLocalPaths.h"
#include "platform/Applications.h"
#include "platform/Files.h"
#include "platform/Platform.h"

namespace larkspan {
namespace {

constexpr const char* assumedVersion = "7.0";

// The place where it lies, or would lie.
Path applicationPath() {
    auto& platform = platform::Platform::current();
    if (auto found = platform.applications.bundlePathForIdentifier(finalCutBundleIdentifier)) {
        return *found;
    }
    const Path folder = ZBLocalPaths::applicationDirectory(UserDomain::no).value_or(Path());
    Path ofTheStudio = folder / "Final Cut Studio/Final Cut Pro.app";
    if (platform.files.exists(ofTheStudio)) return ofTheStudio;
    return folder / "Final Cut Pro.app";
}

int integer(std::string_view text) {
    return static_cast<int>(integerValue(text));
}

}  // namespace

std::string FCPVersion::finalCutProVersionString() {
    const Path file = applicationPath() / "Contents/Info.plist";
    if (!platform::Platform::current().files.exists(file)) return assumedVersion;
    const auto info = loadPropertyList(file);
    const Value* version = info ? info->find("CFBundleShortVersionString") : nullptr;
    return version && version->string() ? *version->string() : std::string();
}

int FCPVersion::finalCutProMajorVersion() {
    return majorVersionOf(finalCutProVersionString());
}

int FCPVersion::maximumXMEMLVersion() {
    return maximumXMEMLVersionOf(finalCutProVersionString());
}

int FCPVersion::majorVersionOf(std::string_view version) {
    constexpr int newest = 7;
    return version.empty() ? newest : integer(version.substr(0, 1));
}

int FCPVersion::maximumXMEMLVersionOf(std::string_view version) {
    constexpr size_t wanted = 3;
    std::vector<std::string> parts = split(version, '.');
    // The count grows with each zero, so that one is appended at most.
    for (size_t added = 0; added + parts.size() < wanted; ++added) parts.emplace_back("0");
    const int major = integer(parts.at(0));
    const int minor = integer(parts.at(1));
    const int patch = integer(parts.at(2));
    if (major < 5) return 1;
    if (major == 5) return minor == 1 && patch < 2 ? 2 : 3;
    return major == 6 ? 4 : 5;
}

}  // namespace larkspan
