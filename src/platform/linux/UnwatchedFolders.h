#pragma once

#include "platform/linux/TreeExclusion.h"

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace larkspan::platform {

// Notices changes in folders that the system does not watch, by comparing what is there with what
// was there at the last look: of every entry the name, size, dates and identity.
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
    void look(const std::vector<std::string>& trees, const Changed& changed);

  private:
    // From the digest of a folder's path to the digest of its entries.
    using Digests = std::unordered_map<std::uint64_t, std::uint64_t>;
    void walk(const std::string& tree, Digests& digests, const Changed& changed) const;

    const TreeExclusion& exclusion_;
    const Stopping stopping_;
    Digests digests_;
};

}  // namespace larkspan::platform
