#pragma once

#include "changes/ChangeList.h"
#include "changes/Dialect.h"
#include "changes/NodePaths.h"

namespace larkspan {

// Makes the sentences about changed leaves of one comparison.
class LeafSentences {
  public:
    LeafSentences(const Dialect& dialect, RuleContext context)
        : dialect_(dialect), context_(context) {}

    Sentence about(const ChangedLeaf& leaf);

  private:
    Sentence aboutUnknown(const ChangedLeaf& leaf);

    const Dialect& dialect_;
    RuleContext context_;
    NodePaths paths_;
};

}  // namespace larkspan
