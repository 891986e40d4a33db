#include "changes/LeafSentences.h"

#include "changes/NodeHelpers.h"
#include "kit/ZBLog.h"

namespace larkspan {
namespace {

Sentence oneSentence(const Dialect& dialect, const ChangedLeaf& leaf, IdentifierList withUUIDList,
                     const Cancellation& cancellation) {
    if (cancellation.isWanted && cancellation.isWanted()) {
        if (cancellation.endProgress) cancellation.endProgress();
        return std::nullopt;
    }
    NodeFacts facts(dialect.otherNameElement);
    const IdentifierSet uuids(withUUIDList.begin(), withUUIDList.end());
    SubClips subClips;
    return LeafSentences(dialect, {facts, subClips, uuids}).about(leaf);
}

}  // namespace

Sentence LeafSentences::about(const ChangedLeaf& leaf) {
    if (dialect_.ignored.contains(leaf.nodeName)) return std::nullopt;
    const SentenceRule rule = dialect_.ruleFor(leaf.nodeName);
    if (!rule) return aboutUnknown(leaf);
    RuleResult result = rule(leaf, context_);
    return result.applies ? std::move(result.sentence) : aboutUnknown(leaf);
}

Sentence LeafSentences::aboutUnknown(const ChangedLeaf& leaf) {
    const std::string name = withUpperFirst(leaf.nodeName);
    ZBLog::fastAppendLog("Unknown change: %@ changed to %@. XPath: %@", name,
                         cutForShowing(leaf.nodeValue), paths_.path(leaf.node));
    return sentence("%@ changed to %@", name, std::string(leaf.nodeValue));
}

Sentence changeStringFromFCPNode(const ChangedLeaf& leaf, IdentifierList withUUIDList,
                                 const Cancellation& cancellation) {
    return oneSentence(finalCutDialect(), leaf, withUUIDList, cancellation);
}

Sentence changeStringFromPremiereNode(const ChangedLeaf& leaf, IdentifierList withUUIDList,
                                      const Cancellation& cancellation) {
    return oneSentence(premiereDialect(), leaf, withUUIDList, cancellation);
}

}  // namespace larkspan
