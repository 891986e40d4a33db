#pragma once

#include "backup/BackupOptions.h"
#include "backup/VersionName.h"
#include "foundation/Path.h"

#include <functional>
#include <limits>
#include <optional>
#include <string>

namespace larkspan {

// Writes the XML rendition that belongs to a new version of a Final Cut Pro 7 project. Used from
// the scan queue.
class XMLRendition {
  public:
    // Asks the application for a project's XML, or for that of one of its sequences; empty when it
    // gives none. `launch`: it may be started for that.
    using RequestXML = std::function<std::optional<std::string>(
        const Path& project, const std::optional<std::string>& uuid, bool launch)>;

    explicit XMLRendition(RequestXML requestXML) : requestXML_(std::move(requestXML)) {}

    // Whether the project is one that has renditions, and loses its duplicates.
    static bool isFor(const Path& project);

    // For the version that was asked for under that number. Failures are logged and leave the
    // version as it is.
    void addRendition(const Path& project, const Path& versions, VersionNumber number,
                      const BackupOptions& options) const;

    // How many versions directly below `number` have no rendition; counted up to `most`.
    static unsigned long gap(const Path& project, const Path& versions, VersionNumber number,
                             unsigned long most = std::numeric_limits<unsigned long>::max());
    // Lets the file open in Final Cut Pro, where the file system can hold that.
    static void setFileAssociation(const Path& file);

  private:
    bool write(const Path& project, const Path& versions, VersionNumber number,
               const BackupOptions& options) const;

    RequestXML requestXML_;
};

}  // namespace larkspan
