#include "changes/ChangeList.h"

#include "changes/DiffWalk.h"
#include "changes/Removals.h"
#include "changes/TreeEquality.h"
#include "changes/ZBXMLParser.h"
#include "kit/ZBLog.h"

namespace larkspan {
namespace {

// The one sentence that replaces the whole comparison when something else was backed up.
std::optional<Sentence> framing(TreeNode newFirst, TreeNode baseFirst) {
    if (!newFirst || !baseFirst) return std::nullopt;
    const bool isSequence = xmltree::name(newFirst) == "sequence";
    const bool areAlike = xmltree::name(newFirst) == xmltree::name(baseFirst);
    if (areAlike && (!isSequence ||
                     ZBXMLParser::uuidForNode(newFirst) == ZBXMLParser::uuidForNode(baseFirst))) {
        return std::nullopt;
    }
    if (!isSequence) return sentence("Backup type changed to Project");
    return sentence("Backup sequence changed to %@", ZBXMLParser::nameForNode(newFirst));
}

std::vector<std::string> finished(SentenceList sentences) {
    if (sentences.empty()) return {"No notable changes"};
    return sentences.take();
}

ChangeSentences changeList(const Dialect& dialect, const XMLDocument* document,
                           const XMLDocument* baseDoc, const ComparedLists& lists,
                           const Cancellation& cancellation) {
    if (!document || !baseDoc) return std::vector<std::string>();
    if (areEqualTrees(*document, *baseDoc)) return {{"No change"}};
    ZBLog::appendLog("Getting changelist from XML doc...");
    const auto newFirst = xmltree::firstElement(document->root());
    const auto baseFirst = xmltree::firstElement(baseDoc->root());
    SentenceList sentences;
    if (dialect.hasFraming) {
        if (auto only = framing(newFirst, baseFirst)) {
            sentences.add(*std::move(only));
            return finished(std::move(sentences));
        }
    }
    const IdentifierSet oldUUIDs(lists.oldUUIDList.begin(), lists.oldUUIDList.end());
    const IdentifierSet oldIDs(lists.oldIDList.begin(), lists.oldIDList.end());
    const IdentifierSet newUUIDs(lists.newUUIDList.begin(), lists.newUUIDList.end());
    const KnownElements known(oldUUIDs, oldIDs, *baseDoc);
    NodeFacts facts(dialect.otherNameElement);
    SubClips subClips;
    LeafSentences leafSentences(dialect, {facts, subClips, newUUIDs});
    DiffWalk walk(dialect, known, leafSentences, facts, sentences);
    if (!walk.run(newFirst, baseFirst, cancellation)) return std::nullopt;
    addRemovals(*baseDoc, lists, facts, sentences);
    return finished(std::move(sentences));
}

}  // namespace

ComparedLists listsOf(const XMLDocument& document, const XMLDocument& baseDoc) {
    return {.oldUUIDList = baseDoc.identifiers().uuids,
            .oldIDList = baseDoc.identifiers().ids,
            .newUUIDList = document.identifiers().uuids,
            .newIDList = document.identifiers().ids};
}

ChangeSentences changeListForFCPXMLDoc(const XMLDocument* document, const XMLDocument* baseDoc,
                                       const ComparedLists& lists,
                                       const Cancellation& cancellation) {
    return changeList(finalCutDialect(), document, baseDoc, lists, cancellation);
}

ChangeSentences changeListForPremiereXMLDoc(const XMLDocument* document, const XMLDocument* baseDoc,
                                            const ComparedLists& lists,
                                            const Cancellation& cancellation) {
    return changeList(premiereDialect(), document, baseDoc, lists, cancellation);
}

}  // namespace larkspan
