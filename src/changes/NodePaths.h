#pragma once

#include "changes/TreeNode.h"

#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace larkspan {

// Writes where elements stand: "/xmeml[1]/sequence[1]/name[1]". Asked for elements in document
// order, it counts no siblings twice.
class NodePaths {
  public:
    std::string path(TreeNode element);

  private:
    struct Counted {
        TreeNode element;
        size_t number = 0;
    };
    size_t numberAmongSiblings(TreeNode element);

    // By the parent and the name: the last one counted.
    std::map<std::pair<const void*, std::string_view>, Counted> counted_;
};

}  // namespace larkspan
