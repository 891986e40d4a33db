#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"

#include <compare>
#include <cstdint>
#include <string>
#include <vector>

namespace larkspan {

// A path in the application's folder in the cloud, "/FOLDER/NAME". A type of its own, so that it is
// never taken for a path on this machine.
struct RemotePath {
    std::string text;

    std::string lastPathComponent() const { return Path(text).lastPathComponent(); }
    friend auto operator<=>(const RemotePath&, const RemotePath&) = default;
};

// What the service tells of a file or folder.
struct DBMetadata {
    RemotePath path;
    bool isDirectory = false;
    std::uint64_t totalBytes = 0;
    Date lastModifiedDate;
    std::vector<DBMetadata> contents;  // of a folder, in the order of its listing
};

}  // namespace larkspan
