#include "changes/Removals.h"

#include "changes/ChangedLeaf.h"
#include "changes/CharacterReference.h"
#include "changes/NodeHelpers.h"
#include "changes/ZBXMLParser.h"
#include "platform/Console.h"
#include "platform/Platform.h"

#include <optional>
#include <unordered_map>

namespace larkspan {
namespace {

using Index = std::unordered_map<std::string_view, pugi::xml_node>;

std::vector<const std::string*> missing(const std::vector<std::string>& oldList,
                                        const std::vector<std::string>& newList) {
    const IdentifierSet kept(newList.begin(), newList.end());
    std::vector<const std::string*> removed;
    for (const std::string& identifier : oldList) {
        if (!kept.contains(identifier)) removed.push_back(&identifier);
    }
    return removed;
}

// The first element for each text that stands in a `uuid`, and for each `id`.
Index uuidIndex(const XMLDocument& document) {
    Index index;
    for (const pugi::xml_node element : document.uuidElements()) {
        if (*element.value() != '\0') index.try_emplace(element.value(), element);
        for (const pugi::xml_node text : element.children()) {
            if (xmltree::isText(text)) index.try_emplace(text.value(), element);
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
std::optional<std::string> askedFor(const std::string& identifier) {
    if (identifier.find('"') != std::string::npos) return std::nullopt;
    return resolvingReferences(ZBXMLParser::escapeQueryString(identifier));
}

class RemovalPass {
  public:
    RemovalPass(NodeFacts& facts, SentenceList& sentences) : facts_(facts), sentences_(sentences) {}

    // `errorText` begins the line about an identifier that cannot be asked for; `element` gives
    // what was removed for what the index holds.
    template <class Element>
    void add(const std::vector<const std::string*>& removed, const Index& index,
             const char* errorText, Element element) {
        for (const std::string* identifier : removed) {
            const auto wanted = askedFor(*identifier);
            if (!wanted) {
                platform::Platform::current().console.report(
                    errorText + ("The identifier " + cutForShowing(*identifier)) +
                    " cannot be asked for.");
                continue;
            }
            const auto found = index.find(*wanted);
            if (found != index.end()) addSentence(element(found->second));
        }
    }

  private:
    void addSentence(pugi::xml_node element) {
        if (!element) return;
        sentences_.add(sentence("%@ %@ removed", typeOfNode(element), facts_.name(element)));
    }

    NodeFacts& facts_;
    SentenceList& sentences_;
};

pugi::xml_node identifiedElement(pugi::xml_node uuid) {
    const auto element = uuid.parent();
    return xmltree::name(element) == "itemhistory" ? pugi::xml_node() : element;
}

}  // namespace

void addRemovals(const XMLDocument& baseDoc, const IdentifierLists& oldLists,
                 const IdentifierLists& newLists, NodeFacts& facts, SentenceList& sentences) {
    RemovalPass pass(facts, sentences);
    if (const auto removed = missing(oldLists.uuids, newLists.uuids); !removed.empty()) {
        pass.add(removed, uuidIndex(baseDoc), "err: ", identifiedElement);
    }
    if (const auto removed = missing(oldLists.ids, newLists.ids); !removed.empty()) {
        pass.add(removed, idIndex(baseDoc), "err2: ", [](pugi::xml_node owner) { return owner; });
    }
}

}  // namespace larkspan
