#pragma once

#include "changes/ChangeList.h"
#include "changes/NodeFacts.h"
#include "changes/Sentence.h"
#include "changes/XMLDocument.h"

namespace larkspan {

// Adds a sentence for every entry of the old identifier lists that the new lists do not have, first
// by uuid, then by id, in the old lists' order and as often as they stand there. What is removed
// with a uuid and an id is reported by both (docs/behaviour.md, fixed 16). An identifier that
// cannot be asked for is reported on the console.
void addRemovals(const XMLDocument& baseDoc, const ComparedLists& lists, NodeFacts& facts,
                 SentenceList& sentences);

}  // namespace larkspan
