#pragma once

#include "changes/XMLDocument.h"
#include "foundation/Path.h"
#include "foundation/Result.h"

#include <optional>

namespace larkspan {

// A document in a file, or why there is none: an error of xmlDocumentErrorDomain when the file
// could be read but is no document, else one of reading. Files beyond all reason are not read.
using LoadedDocument = Result<XMLDocument::Pointer>;
LoadedDocument loadDocument(const Path& file);

// Two at once, on a thread each.
struct LoadedPair {
    LoadedDocument newDoc;
    LoadedDocument oldDoc;
};
LoadedPair loadDocuments(const Path& newFile, const Path& oldFile);

// As an editing application may have saved it: the file may be compressed with gzip.
LoadedPair loadProjectDocuments(const Path& newFile, const Path& oldFile);

// Whether a document is a Premiere project.
bool isPremiereProject(const XMLDocument& document);

}  // namespace larkspan
