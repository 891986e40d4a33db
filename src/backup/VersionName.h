#pragma once

#include "foundation/Path.h"

#include <compare>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

// Which version of a project, counted from 1.
struct VersionNumber {
    long value = 0;

    VersionNumber next() const { return {value + 1}; }
    friend auto operator<=>(const VersionNumber&, const VersionNumber&) = default;
};

// The number with zeros in front up to five digits. A negative one gets four zeros as well, on
// purpose: the cases only look at the upper bounds.
std::string padNumber(VersionNumber number);

// The name that all files of a project's versions begin with: the project's file name without its
// extension and without one dot-suffix more if one remains ("Edit 1.2.fcp" gives "Edit 1"). The
// second removal is deliberate: copy, rendition and screenshot all agree on it.
std::string versionBaseName(const Path& project);

// "Cut.00007.fcp" for version 7 of Cut.fcp.
std::string versionCopyName(const Path& project, VersionNumber number);

// "Cut.00007.xml", the XML rendition of version 7.
std::string versionRenditionName(const Path& project, VersionNumber number);

// The number in a version's name: the extension of the name without its last extension, read as
// an integer. 0 for names without one.
VersionNumber numberOfVersion(std::string_view versionName);

// The newest of the visible names of a version folder in listing order: the highest number, and of
// equals the last. Empty when no name is visible. While numbers have five digits this is the last
// name of the listing; it stays right beyond them.
std::optional<std::string> newestVersionName(const std::vector<std::string>& names);

// Whether a name in a version folder is hidden: temporary items and what file browsers leave.
inline bool isHiddenName(std::string_view name) {
    return name.starts_with('.');
}

}  // namespace larkspan
