#include "changes/Removals.h"

#include "changes/ChangedLeaf.h"
#include "changes/CharacterReference.h"
#include "changes/NodeHelpers.h"
#include "changes/ZBXMLParser.h"
#include "kit/ConsoleReport.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace larkspan {
namespace {

using Index = std::unordered_map<std::string_view, TreeNode>;

std::vector<std::string_view> missing(IdentifierList oldList, IdentifierList newList) {
    const IdentifierSet kept(newList.begin(), newList.end());
    std::vector<std::string_view> removed;
    for (const std::string_view identifier : oldList) {
        if (!kept.contains(identifier)) removed.push_back(identifier);
    }
    return removed;
}

// The first element for each text that stands in a `uuid`, and for each `id`.
Index uuidIndex(const XMLDocument& document) {
    Index index;
    for (const TreeNode element : document.uuidElements()) {
        if (*element.value() != '\0') index.try_emplace(element.value(), element);
        for (const TreeNode text : element.children()) {
            if (text.isText()) index.try_emplace(text.value(), element);
        }
    }
    return index;
}

Index idIndex(const XMLDocument& document) {
    Index index;
    const auto& ids = document.identifiers().ids;
    for (size_t at = 0; at < ids.size(); ++at) index.try_emplace(ids[at], document.idOwners()[at]);
    return index;
}

// What a query for an identifier in double quotes asks for; empty when that is no query.
std::optional<std::string> askedFor(std::string_view identifier) {
    if (identifier.find('"') != std::string_view::npos) return std::nullopt;
    return resolvingReferences(ZBXMLParser::escapeQueryString(identifier));
}

class RemovalPass {
  public:
    RemovalPass(NodeFacts& facts, SentenceList& sentences) : facts_(facts), sentences_(sentences) {}

    // `element` gives what was removed for what the index holds; `reportUnaskable` takes the
    // description of an identifier that cannot be asked for.
    template <class Element, class Report>
    void add(const std::vector<std::string_view>& removed, const Index& index,
             Report reportUnaskable, Element element) {
        for (const std::string_view identifier : removed) {
            const auto wanted = askedFor(identifier);
            if (!wanted) {
                reportUnaskable("no query can ask for " + cutForShowing(identifier));
                continue;
            }
            const auto found = index.find(*wanted);
            if (found != index.end()) addSentence(element(found->second));
        }
    }

  private:
    void addSentence(TreeNode element) {
        if (!element) return;
        sentences_.add(sentence("%@ %@ removed", typeOfNode(element), facts_.name(element)));
    }

    NodeFacts& facts_;
    SentenceList& sentences_;
};

TreeNode identifiedElement(TreeNode uuid) {
    const auto element = uuid.parent();
    return xmltree::name(element) == "itemhistory" ? TreeNode() : element;
}

}  // namespace

void addRemovals(const XMLDocument& baseDoc, const ComparedLists& lists, NodeFacts& facts,
                 SentenceList& sentences) {
    RemovalPass pass(facts, sentences);
    if (const auto removed = missing(lists.oldUUIDList, lists.newUUIDList); !removed.empty()) {
        pass.add(
            removed, uuidIndex(baseDoc),
            [](const std::string& why) { reportDetailToConsole("err: %@", why); },
            identifiedElement);
    }
    if (const auto removed = missing(lists.oldIDList, lists.newIDList); !removed.empty()) {
        pass.add(
            removed, idIndex(baseDoc),
            [](const std::string& why) { reportDetailToConsole("err2: %@", why); },
            [](TreeNode owner) { return owner; });
    }
}

}  // namespace larkspan
