#pragma once

#include "changes/XMLDocument.h"
#include "foundation/Path.h"
#include "platform/Files.h"

#include <optional>
#include <span>
#include <string>

namespace larkspan {

// What the driver remembers of its last comparison, so that a walk from older to newer versions
// reads each document once. The document and its identifier lists are those of the newest version,
// while the path is that of the older one (docs/behaviour.md, fixed 14). One thread.
class ChangeListMemory {
  public:
    // The older side's path of the last comparison, and the newer side's document; empty and null
    // when there was none.
    const std::optional<Path>& lastXMLDocPath() const { return lastXMLDocPath_; }
    XMLDocument::Pointer lastXMLDoc();
    // That document's identifiers; empty ones count as not remembered.
    IdentifierList lastUUIDArray();
    IdentifierList lastIDArray();

    // The remembered document when it is what the file holds now; else null.
    XMLDocument::Pointer documentOf(const Path& file) const;

    void remember(const Path& oldFile, const Path& newFile, XMLDocument::Pointer newDoc);
    // The same where both files hold the same bytes: the document is read when it is asked for.
    void rememberEqual(const Path& oldFile, const Path& newFile);

    // Takes the document of a file that was read in the meantime, so that it is not read again.
    void fill(const Path& file, const XMLDocument::Pointer& document);

    // Gives back the memory.
    void forget();

  private:
    // What tells one state of a file from another.
    struct FileState {
        Path path;
        platform::FileInfo info;
    };
    static std::optional<FileState> stateOf(const Path& file);

    std::optional<Path> lastXMLDocPath_;
    XMLDocument::Pointer lastXMLDoc_;
    std::optional<FileState> newest_;  // what the document was, or is to be, read from
    bool isUnread_ = false;
};

}  // namespace larkspan
