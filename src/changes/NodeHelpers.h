#pragma once

#include "changes/TreeNode.h"

#include <optional>
#include <string>
#include <vector>

namespace larkspan {

// The display word for an element's kind: its name with the case of its words set, "Clip" for a
// clip item.
std::string typeOfNode(TreeNode node);

std::optional<std::string> capitalizeFirstLetter(const std::optional<std::string>& text);

// The identifiers that an element had before, as its item history keeps them.
std::vector<std::string> uuidHistoryForNode(TreeNode node);

// The node of the old document from whose next one the walk goes on, when the new document has an
// element that the old one has not: one that stands behind the base node and has the new node's
// name, else the one before the base node, so that the walk stays where it is.
TreeNode nextBaseNode(TreeNode baseNode, TreeNode newNode);

// What nextBaseNode looks at for one base node, looked up once: a walk that stays at a base node
// asks for many new nodes.
class BaseRealignment {
  public:
    BaseRealignment() = default;
    explicit BaseRealignment(TreeNode baseNode);

    TreeNode baseNode() const { return baseNode_; }
    // The element with the new node's name behind the base node; none when the walk stays.
    TreeNode nodeLike(TreeNode newNode) const;

  private:
    TreeNode baseNode_;
    TreeNode behindNode_;
    TreeNode behindParent_;
};

}  // namespace larkspan
