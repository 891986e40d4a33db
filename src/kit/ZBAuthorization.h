#pragma once

#include "foundation/Path.h"

namespace larkspan {

// File operations with administrator rights. A process without a user interface cannot ask for
// them: it has them when it runs as root, and is refused otherwise. Any thread.
class ZBAuthorization {
  public:
    static ZBAuthorization& sharedController();
    ZBAuthorization(const ZBAuthorization&) = delete;
    ZBAuthorization& operator=(const ZBAuthorization&) = delete;

    bool isAuthorized() const;

    // Creates a folder with those above it. As root the tool is started and not waited for; the
    // result is then true, and callers look for the folder.
    [[nodiscard]] bool authCreateDir(const Path& path);

  private:
    ZBAuthorization() = default;
};

}  // namespace larkspan
