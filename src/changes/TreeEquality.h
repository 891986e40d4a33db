#pragma once

#include "changes/XMLDocument.h"

namespace larkspan {

// Whether two documents say the same: names, attributes in any order, texts, comments and
// processing instructions. How they are indented, their document types and how a text is written
// (as characters, references or a character data section) make no difference.
bool areEqualTrees(const XMLDocument& one, const XMLDocument& other);

}  // namespace larkspan
