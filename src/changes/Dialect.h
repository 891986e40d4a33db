#pragma once

#include "changes/ChangedLeaf.h"
#include "changes/NameSet.h"

#include <string_view>

namespace larkspan {

// What differs between the documents of the editing applications.
struct Dialect {
    // Elements that are passed over with all below them.
    NameSet bookkeeping;
    // Changed leaves that are not worth a sentence.
    NameSet ignored;
    // The rule for a changed leaf of that name; null when there is none.
    SentenceRule (*ruleFor)(std::string_view elementName);
    // Gives a name where `name` gives none; empty when nothing does.
    std::string_view otherNameElement;
    // Whether the first elements below the roots say what was backed up.
    bool hasFraming;
};

const Dialect& finalCutDialect();
const Dialect& premiereDialect();

// The rules that the dialects share.
SentenceRule sharedRuleFor(std::string_view elementName);

}  // namespace larkspan
