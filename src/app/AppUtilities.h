#pragma once

#include "foundation/Path.h"

#include <optional>
#include <string>
#include <string_view>

namespace larkspan {

// Small operations that the controller offers; no state, any thread.

// An application's bundle: looked for in "Corvane/Brindlewood", "Corvane" and the top of the
// Applications folder, then by the workspace, then among the bundles around this program.
std::optional<Path> pathForAppWithBundleID(const std::string& bundleID);

// The direct entry of a folder whose name without extension and blanks is the identifier's last
// part, in any case, and whose Info.plist holds exactly the identifier.
std::optional<Path> pathForBundleID(const std::string& bundleID, const Path& inFolder);

// Share of a processor that the first process whose "ps aux" line holds the name uses, in whole
// percent; 0 when there is none.
int cpuUsageForApplication(const std::string& name);
// The same, from the output of "ps aux".
int cpuUsageInListing(std::string_view listing, const std::string& name);

// Whether a text is an integer as it would be printed: "12", but not "012", "+12" or "".
bool isNumeric(const std::string& text);
// The digits of a text.
std::string stripNonNumerals(std::string_view text);

// Makes this process an application with a Dock icon, where the system has such.
void showDockIcon();

}  // namespace larkspan
