#pragma once

#include "changes/ChangedLeaf.h"
#include "changes/XMLDocument.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace larkspan {

// How a comparison is stopped, by who has a user interface; without one it never is.
struct Cancellation {
    std::function<bool()> isWanted = {};     // asked before each step
    std::function<void()> endProgress = {};  // told once it stops
};

// The sentences about what changed from `baseDoc` to `document`, in the order of the new document,
// then what was removed. A single "No change" or "No notable changes" where there is nothing to
// say, nothing at all when a document is missing; empty when it was cancelled. The lists are those
// of the two documents or, for the old side, what the caller remembers of it. One thread for each
// comparison.
using ChangeSentences = std::optional<std::vector<std::string>>;

ChangeSentences changeListForFCPXMLDoc(const XMLDocument* document, const XMLDocument* baseDoc,
                                       const IdentifierLists& oldLists,
                                       const IdentifierLists& newLists,
                                       const Cancellation& cancellation = {});
ChangeSentences changeListForPremiereXMLDoc(const XMLDocument* document, const XMLDocument* baseDoc,
                                            const IdentifierLists& oldLists,
                                            const IdentifierLists& newLists,
                                            const Cancellation& cancellation = {});

// The sentence about one changed leaf; none when it is not worth one, or when cancelled. What no
// rule knows is logged, too.
Sentence changeStringFromFCPNode(const ChangedLeaf& leaf, const IdentifierLists& newLists,
                                 const Cancellation& cancellation = {});
Sentence changeStringFromPremiereNode(const ChangedLeaf& leaf, const IdentifierLists& newLists,
                                      const Cancellation& cancellation = {});

}  // namespace larkspan
