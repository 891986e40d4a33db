#pragma once

#include "platform/linux/FolderListing.h"
#include "platform/linux/TreeExclusion.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace larkspan::platform {

// Notices changes in folders that the system does not watch, by comparing what is there with what
// was there at the last look: of every entry the name, size and dates. No inode numbers, which some
// file systems give out anew at every look. What cannot be read for a moment is compared, with all
// below it, when it can be read again.
class UnwatchedFolders {
  public:
    // Called with the path of a folder that changed or is new, ending in "/".
    using Changed = std::function<void(const std::string& folder)>;
    using Stopping = std::function<bool()>;

    // The exclusion must outlive this.
    UnwatchedFolders(const TreeExclusion& exclusion, Stopping stopping)
        : exclusion_(exclusion), stopping_(std::move(stopping)) {}

    // Looks at one more tree. Paths end in "/".
    void add(const std::string& tree, const Changed& changed);

    // Looks at exactly these trees, and forgets all others.
    void look(std::vector<std::string> trees, const Changed& changed);

    // The same in parts: goOn() looks until `pause`, which is asked between two folders, says so.
    void begin(std::vector<std::string> trees);
    void goOn(const std::function<bool()>& pause, const Changed& changed);
    bool isLooking() const { return looking_.has_value(); }

  private:
    // Folders are known by the digest of their path.
    struct Known {
        std::uint64_t entries = 0;
        std::uint64_t above = 0;  // the folder that it lies in; 0 for a tree
    };
    using Folders = std::unordered_map<std::uint64_t, Known>;
    struct Waiting {
        std::string path;
        std::uint64_t above = 0;
    };
    struct Walk {
        std::vector<Waiting> waiting;
        Folders found;
        std::unordered_set<std::uint64_t> unread;
    };

    void lookInto(const Waiting& folder, Walk& walk, const Changed& changed);
    bool addEntry(int descriptor, const char* name, const Waiting& folder, Walk& walk,
                  std::uint64_t& entries) const;
    void keepUnread(Walk& walk) const;
    bool liesInUnread(std::uint64_t folder, const Walk& walk) const;

    const TreeExclusion& exclusion_;
    const Stopping stopping_;
    Folders known_;
    std::optional<Walk> looking_;
};

}  // namespace larkspan::platform
