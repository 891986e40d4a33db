#pragma once

#include "platform/linux/UnwatchedFolders.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace larkspan::platform {

// The watched trees on file systems that do not report what others change in them, other machines
// for instance: looked through now and then, beside being watched for what this machine does.
// docs/behaviour.md, own 17. One thread at a time.
class SilentTrees {
  public:
    // A folder, its path ending in "/", with the flags of FileEventFlag.
    using Changed = std::function<void(std::string folder, std::uint32_t flags)>;

    // The exclusion must outlive this.
    SilentTrees(const TreeExclusion& exclusion, UnwatchedFolders::Stopping stopping)
        : folders_(exclusion, std::move(stopping)) {}

    // The trees in a root, instead of those before. Paths end in "/".
    void setTreesOf(size_t root, std::vector<std::string> trees);
    bool isEmpty() const { return ofRoots_.empty(); }
    // Whether some were never looked through. What was changed in such a one before that look ends
    // is reported as one change of the whole tree then.
    bool hasNew() const;

    // Looks through all of them, in parts: goOn() until `pause`, asked between two folders, says
    // so.
    void begin();
    void goOn(const std::function<bool()>& pause, const Changed& changed);
    bool isLooking() const { return folders_.isLooking(); }

    // A sentence about the root; "" when it holds no such tree.
    std::string notice(size_t root, const std::string& rootPath) const;

  private:
    std::vector<std::string> trees() const;
    bool isKnown(const std::string& tree) const;

    UnwatchedFolders folders_;
    std::map<size_t, std::vector<std::string>> ofRoots_;
    std::vector<std::string> known_;    // looked through before, in order
    std::vector<std::string> looking_;  // by the look that goes on
};

}  // namespace larkspan::platform
