#pragma once

#include "changes/ChangedLeaf.h"
#include "changes/XMLDocument.h"

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace larkspan {

// How a comparison is stopped, by who has a user interface; without one it never is.
struct Cancellation {
    std::function<bool()> isWanted = {};     // asked before each step
    std::function<void()> endProgress = {};  // told once it stops
};

// The identifier lists of a comparison: those of its two documents or, for the old side, what the
// caller remembers of it.
struct ComparedLists {
    IdentifierList oldUUIDList = {};
    IdentifierList oldIDList = {};
    IdentifierList newUUIDList = {};
    IdentifierList newIDList = {};
};
ComparedLists listsOf(const XMLDocument& document, const XMLDocument& baseDoc);

// The sentences about what changed from `baseDoc` to `document`, in the order of the new document,
// then what was removed. A single "No change" or "No notable changes" where there is nothing to
// say, nothing at all when a document is missing; empty when it was cancelled. One thread for each
// comparison.
using ChangeSentences = std::optional<std::vector<std::string>>;

ChangeSentences changeListForFCPXMLDoc(const XMLDocument* document, const XMLDocument* baseDoc,
                                       const ComparedLists& lists,
                                       const Cancellation& cancellation = {});
ChangeSentences changeListForPremiereXMLDoc(const XMLDocument* document, const XMLDocument* baseDoc,
                                            const ComparedLists& lists,
                                            const Cancellation& cancellation = {});

// The sentence about one changed leaf; none when it is not worth one, or when cancelled. The list
// is the new document's. What no rule knows is logged, too.
Sentence changeStringFromFCPNode(const ChangedLeaf& leaf, IdentifierList withUUIDList,
                                 const Cancellation& cancellation = {});
Sentence changeStringFromPremiereNode(const ChangedLeaf& leaf, IdentifierList withUUIDList,
                                      const Cancellation& cancellation = {});

}  // namespace larkspan
