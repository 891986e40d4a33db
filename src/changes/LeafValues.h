#pragma once

#include "changes/TreeNode.h"

#include <string>

namespace larkspan {

// Compares the string values of elements with at most one child. A chain of such elements has the
// value of its end, which is read once and not for each of them.
class LeafValues {
  public:
    bool differ(TreeNode newNode, TreeNode oldNode);

    // Of the nodes last found to differ; valid until the next comparison.
    const std::string& newValue() const { return newValue_; }
    const std::string& oldValue() const { return oldValue_; }

  private:
    TreeNode newEnd_;
    TreeNode oldEnd_;
    bool endsDiffer_ = false;
    std::string newValue_;
    std::string oldValue_;
};

}  // namespace larkspan
