#pragma once

#include "changes/Additions.h"
#include "changes/ChangeList.h"
#include "changes/LeafSentences.h"
#include "changes/LeafValues.h"
#include "changes/NodeHelpers.h"

namespace larkspan {

// Walks the new and the old document side by side, in document order, and gathers what was added
// and what has another value.
class DiffWalk {
  public:
    DiffWalk(const Dialect& dialect, const KnownElements& known, LeafSentences& leafSentences,
             NodeFacts& facts, SentenceList& sentences)
        : dialect_(dialect),
          known_(known),
          leafSentences_(leafSentences),
          facts_(facts),
          sentences_(sentences) {}

    // From those elements on to the end of the new document. False when it was cancelled.
    bool run(TreeNode newNode, TreeNode baseNode, const Cancellation& cancellation);

  private:
    void step();
    void compareAlike();
    // Whether a changed leaf is passed over.
    bool isPassedOver() const;
    Sentence changeSentence();
    Sentence effectName();
    void enterNewElement();

    const Dialect& dialect_;
    const KnownElements& known_;
    LeafSentences& leafSentences_;
    NodeFacts& facts_;
    SentenceList& sentences_;

    TreeNode new_;
    TreeNode base_;
    BaseRealignment realignment_;
    LeafValues values_;
};

}  // namespace larkspan
