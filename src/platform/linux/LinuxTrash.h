#pragma once

#include "platform/Files.h"
#include "platform/StandardPlaces.h"
#include "platform/Trash.h"

namespace larkspan::platform {

// The desktop's Trash: of the item's own file system where it has one, so that nothing large is
// copied; else the one in the user's home (freedesktop.org's rules for the Trash, version 1.0).
class LinuxTrash final : public Trash {
  public:
    // Both must outlive this.
    LinuxTrash(Files& files, StandardPlaces& places) : files_(files), places_(places) {}

    std::optional<Error> recycle(const Path& item) override;
    Result<Path> reserve(const Path& item,
                         const std::function<std::string(int)>& nameForTry) override;
    void giveUp(const Path& reserved) override;

  private:
    Path homeTrash();
    std::optional<Error> moveToHomeTrash(const Path& item);

    Files& files_;
    StandardPlaces& places_;
};

}  // namespace larkspan::platform
