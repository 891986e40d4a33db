#pragma once

#include "changes/NodeTable.h"
#include "foundation/Error.h"

#include <optional>
#include <string>

namespace larkspan {

// Of errors that say why bytes are no document.
inline constexpr const char* xmlDocumentErrorDomain = "XMLDocumentErrorDomain";

// Reads any document with the XML library, refuses what that accepts and XML does not allow, and
// fills the table. The error says in words why the bytes are no document, or that its elements are
// nested deeper than `deepestLevel`.
std::optional<Error> readWithLibrary(std::string bytes, size_t deepestLevel, NodeTable& table);

}  // namespace larkspan
