#pragma once

#include "foundation/Error.h"
#include "foundation/Path.h"

#include <optional>

namespace larkspan::platform {

// Whether the archive of a folder holds the folder itself or only what is in it. The archive of a
// file holds the file either way.
enum class IncludeParent { no, yes };

// Errors that are no errno value have this domain: what was packed changed meanwhile, or the
// archive is torn or holds what must not be unpacked.
inline constexpr const char* archivesErrorDomain = "ArchivesErrorDomain";

// Zip archives. Every member may be called from any thread; each gives an empty optional on
// success.
class Archives {
  public:
    virtual ~Archives() = default;

    // Packs a file or a folder tree into a new archive, which appears under its name whole or not
    // at all (EEXIST when something is there) and which nobody but the user can read. Links are
    // packed as links; devices, pipes and sockets are left out. Dates keep whole seconds.
    virtual std::optional<Error> pack(const Path& source, const Path& archive,
                                      IncludeParent includeParent) = 0;

    // Unpacks an archive into a new folder, which appears under its name whole or not at all
    // (EEXIST when something is there). Links are made as they are, wherever they lead, when
    // everything else is there. Refused as a whole are archives with names that lead out of the
    // folder or pass through a link, with a name twice, with anything but files, folders and links,
    // and those whose content does not fit on the disk (ENOSPC). Set-id bits are not taken over.
    virtual std::optional<Error> unpack(const Path& archive, const Path& folder) = 0;
};

}  // namespace larkspan::platform
