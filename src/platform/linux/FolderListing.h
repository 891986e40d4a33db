#pragma once

#include <functional>
#include <memory>
#include <string>

namespace larkspan::platform {

// Lists folders with one system call for many entries; keeps its buffer from folder to folder.
class FolderListing {
  public:
    enum class Kind {
        folder,
        symbolicLink,
        unknown,
        other
    };  // unknown: the file system does not tell
    // `descriptor` is the open folder.
    using Entry = std::function<void(int descriptor, const char* name, Kind kind)>;

    FolderListing();

    // Calls `entry` for all but "." and "..". A path that ends in "/" follows a link. Returns 0 or
    // an errno value.
    int list(const std::string& path, const Entry& entry);

  private:
    std::unique_ptr<char[]> buffer_;
};

}  // namespace larkspan::platform
