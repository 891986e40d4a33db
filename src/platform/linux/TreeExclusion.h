#pragma once

#include "platform/FileEvents.h"

#include <string>
#include <string_view>
#include <vector>

namespace larkspan::platform {

// Tells folders that are not to be entered. Only where a name is that of an excluded tree the file
// system is asked, since links may give the tree another path. One thread at a time.
class TreeExclusion {
  public:
    explicit TreeExclusion(ExcludedTrees excluded);

    // `path` leads to the folder of that name, with or without a slash at its end.
    bool excludes(std::string_view name, const std::string& path) const;

    // Whether the path, one without links, leads to an excluded tree or into one.
    bool isInExcludedTree(const std::string& path) const;

  private:
    bool isExcludedTree(std::string_view name, const std::string& path) const;
    struct Tree {
        std::string name;  // its last component
        std::string path;
    };

    std::vector<Tree> trees_;
    std::function<bool(std::string_view name)> isExcludedName_;
};

}  // namespace larkspan::platform
