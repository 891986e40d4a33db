#pragma once

#include "foundation/Path.h"

namespace larkspan::testing {

// A new empty folder, removed with everything in it at the end.
class TemporaryFolder {
  public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    const Path& path() const { return path_; }
    // It stays at the end.
    void keep() { stays_ = true; }

  private:
    Path path_;
    bool stays_ = false;
};

}  // namespace larkspan::testing
