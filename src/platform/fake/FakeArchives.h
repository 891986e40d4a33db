#pragma once

#include "platform/Archives.h"
#include "platform/Files.h"

namespace larkspan::platform {

// Archives of files and folders in the given file system. Their format is a property list of the
// names and contents; links, dates and permissions are left out.
class FakeArchives final : public Archives {
  public:
    // The files must outlive this.
    explicit FakeArchives(Files& files) : files_(files) {}

    std::optional<Error> pack(const Path& source, const Path& archive,
                              IncludeParent includeParent) override;
    std::optional<Error> unpack(const Path& archive, const Path& folder) override;

  private:
    std::optional<Error> unpackEntries(const Path& archive, const Path& folder);

    Files& files_;
};

}  // namespace larkspan::platform
