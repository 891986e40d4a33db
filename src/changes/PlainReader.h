#pragma once

#include "changes/NodeTable.h"
#include "changes/TextWindow.h"

namespace larkspan {

// Reads what nearly all documents are: UTF-8 with a document type that says nothing but its name,
// well-formed and nested to `deepestLevel` at most. Fills the
// table with what the XML library would make of the text. False when there is anything else in it;
// then the library is to decide, and the table is to be filled afresh.
bool readPlain(TextWindow& text, size_t deepestLevel, NodeTable& table);

}  // namespace larkspan
