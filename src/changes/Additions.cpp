#include "changes/Additions.h"

#include "changes/NameSet.h"
#include "changes/NodeHelpers.h"
#include "changes/PercentEscapes.h"
#include "changes/XMLTree.h"
#include "changes/ZBXMLParser.h"
#include "foundation/Path.h"

#include <algorithm>
#include <array>

namespace larkspan {
namespace {

bool isIdentifiedByUUID(std::string_view name) {
    static const NameSet names{"clip", "clipitem", "bin", "multiclip", "sequence"};
    return names.contains(name);
}

std::string timePhrase(TreeNode node) {
    return phrase(" at %@", startTimeForNode(node));
}

Field sequenceAbove(TreeNode node, NodeFacts& facts) {
    return facts.name(xmltree::ancestor(node, "sequence"));
}

std::string toSequence(TreeNode node, NodeFacts& facts) {
    return phrase(" to sequence %@", sequenceAbove(node, facts));
}

std::string forSequence(TreeNode node, NodeFacts& facts) {
    return phrase(" for sequence %@", sequenceAbove(node, facts));
}

std::string toMulticlip(TreeNode node, NodeFacts& facts) {
    const bool isInMulticlip = static_cast<bool>(xmltree::ancestorOrSelf(node, "multiclip"));
    return phrase(" to multiclip %@",
                  facts.name(isInMulticlip ? xmltree::ancestor(node, "multiclip")
                                           : xmltree::descendant(node, "multiclip")));
}

Field fileName(std::optional<std::string_view> pathURL) {
    if (!pathURL) return std::nullopt;
    std::string name = withPercentEscapesResolved(Path(*pathURL).lastPathComponent());
    return name.empty() ? Field() : Field(std::move(name));
}

Sentence newSequence(TreeNode node, NodeFacts& facts) {
    return sentence("New sequence added: %@", facts.name(node));
}

Sentence newBin(TreeNode node, NodeFacts& facts) {
    return sentence("New bin added: %@", facts.name(node));
}

Sentence newMulticlip(TreeNode node, NodeFacts& facts) {
    const std::string time = timePhrase(node);
    const std::string sequence = toSequence(node, facts);
    const Field file = fileName(xmltree::descendantText(node, "pathurl"));
    if (!file) return sentence("New multiclip added%@%@", time, sequence);
    return sentence("New multiclip added%@%@: %@", time, sequence, file);
}

Sentence newClip(TreeNode node, NodeFacts& facts) {
    const std::string track = NodeFacts::trackWord(node);
    const std::string kind = NodeFacts::kindWord(node);
    const std::string multiclip = toMulticlip(node, facts);
    const std::string sequence = forSequence(node, facts);
    const std::string time = timePhrase(node);
    const Field file = fileName(xmltree::childText(xmltree::child(node, "file"), "pathurl"));
    if (!file) {
        return sentence("New %@%@ added%@%@%@", track, kind, multiclip, sequence, time);
    }
    return sentence("New %@%@ %@ added%@%@%@", track, kind, file, multiclip, sequence, time);
}

Sentence newGenerator(TreeNode node, NodeFacts& facts) {
    return sentence("New generator %@ added%@%@", facts.name(node), toSequence(node, facts),
                    timePhrase(node));
}

Sentence newTransition(TreeNode node, NodeFacts& facts) {
    return sentence("New transition %@ added%@%@%@", facts.name(node),
                    phrase(" to clip %@", facts.name(xmltree::ancestor(node, "clipitem"))),
                    forSequence(node, facts), timePhrase(node));
}

Sentence newMarker(TreeNode node, NodeFacts& facts) {
    return sentence(
        "New marker %@ added%@%@%@", facts.name(node),
        phrase(" to %@clip %@", NodeFacts::trackWord(node), facts.name(NodeFacts::clipAbove(node))),
        forSequence(node, facts), timePhrase(node));
}

Sentence newFilter(TreeNode node, NodeFacts& facts) {
    const Field name = facts.name(node);
    if (name && isBuiltInClipAttribute(*name)) return std::nullopt;
    return sentence("New filter added%@: %@",
                    phrase(" for clip %@", facts.name(NodeFacts::clipAbove(node))), name);
}

struct Announcement {
    std::string_view element;
    Sentence (*make)(TreeNode node, NodeFacts& facts);
};

constexpr std::array announcements = {Announcement{"sequence", newSequence},
                                      Announcement{"bin", newBin},
                                      Announcement{"multiclip", newMulticlip},
                                      Announcement{"clip", newClip},
                                      Announcement{"clipitem", newClip},
                                      Announcement{"generatoritem", newGenerator},
                                      Announcement{"transitionitem", newTransition},
                                      Announcement{"marker", newMarker},
                                      Announcement{"effect", newFilter}};

const Announcement* announcementOf(std::string_view element) {
    const auto found =
        std::find_if(announcements.begin(), announcements.end(),
                     [&](const Announcement& entry) { return entry.element == element; });
    return found == announcements.end() ? nullptr : &*found;
}

}  // namespace

bool isBuiltInClipAttribute(std::string_view effectName) {
    static const NameSet attributes{"Basic Motion", "Audio Levels", "Drop Shadow", "Motion Blur",
                                    "Crop",         "Distort",      "Opacity",     "Audio Pan"};
    return attributes.contains(effectName);
}

KnownElements::KnownElements(const IdentifierSet& oldUUIDs, const IdentifierSet& oldIDs,
                             const XMLDocument& baseDoc)
    : oldUUIDs_(oldUUIDs), oldIDs_(oldIDs) {
    for (const TreeNode marker : baseDoc.markers()) {
        const auto name = xmltree::child(marker, "name");
        if (name) markerNames_.insert(xmltree::stringValue(name));
    }
}

bool KnownElements::contains(TreeNode node) const {
    if (isIdentifiedByUUID(xmltree::name(node))) {
        const auto uuid = ZBXMLParser::uuidForNode(node);
        const auto history = uuidHistoryForNode(node);
        if (uuid && oldUUIDs_.contains(*uuid)) return true;
        if (std::any_of(history.begin(), history.end(),
                        [&](const std::string& earlier) { return oldUUIDs_.contains(earlier); })) {
            return true;
        }
        if (uuid || !history.empty()) return false;
    }
    if (const auto id = ZBXMLParser::idAttributeForNode(node)) return oldIDs_.contains(*id);
    if (xmltree::name(node) != "marker") return false;
    const auto name = ZBXMLParser::nameForNode(node);
    return name && markerNames_.contains(*name);
}

bool isAnnounced(std::string_view elementName) {
    return announcementOf(elementName) != nullptr;
}

Sentence additionSentence(TreeNode node, NodeFacts& facts) {
    const Announcement* announcement = announcementOf(xmltree::name(node));
    return announcement ? announcement->make(node, facts) : std::nullopt;
}

}  // namespace larkspan
