#pragma once

#include "changes/ChangedLeaf.h"
#include "changes/NodeFacts.h"
#include "changes/Sentence.h"
#include "changes/XMLDocument.h"

#include <string>
#include <string_view>
#include <unordered_set>

namespace larkspan {

// Tells which elements the old document knew.
class KnownElements {
  public:
    KnownElements(const IdentifierSet& oldUUIDs, const IdentifierSet& oldIDs,
                  const XMLDocument& baseDoc);

    // Clips, clip items, bins, multiclips and sequences by their uuid or one that they had before,
    // everything else, and those without any, by their id. A marker without id by its name. What
    // has nothing is not known.
    bool contains(TreeNode node) const;
    bool containsUUID(const std::string& uuid) const { return oldUUIDs_.contains(uuid); }

  private:
    const IdentifierSet& oldUUIDs_;
    const IdentifierSet& oldIDs_;
    std::unordered_set<std::string> markerNames_;
};

// Whether an effect is one of the attributes that every clip has.
bool isBuiltInClipAttribute(std::string_view effectName);

// The sentence for an element that the old document has not; none for what is not announced.
Sentence additionSentence(TreeNode node, NodeFacts& facts);

// Whether there may be one, by the element's name alone.
bool isAnnounced(std::string_view elementName);

}  // namespace larkspan
