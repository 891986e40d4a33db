#include "changes/ZBXMLParser.h"

#include "changes/PercentEscapes.h"
#include "changes/XMLTree.h"
#include "foundation/Text.h"
#include "kit/ZBLog.h"

#include <algorithm>

namespace larkspan {
namespace {

constexpr char32_t firstEscaped = 160;
constexpr char32_t lastDropped = 19;

std::optional<std::string> resolved(const std::optional<std::string_view>& text) {
    if (!text) return std::nullopt;
    return withPercentEscapesResolved(*text);
}

std::optional<std::string_view> textOf(TreeNode node, std::string_view element,
                                       ImmediateChildOnly immediateChildOnly) {
    const auto text = xmltree::childText(node, element);
    if (text || immediateChildOnly == ImmediateChildOnly::yes) return text;
    return xmltree::descendantText(node, element);
}

std::vector<XMLNode> logged(Result<std::vector<XMLNode>> found) {
    if (found) return std::move(*found);
    ZBLog::fastAppendLog("XML parsing error: %@", found.error().description);
    return {};
}

Result<std::vector<XMLNode>> run(std::string_view query, TreeNode node) {
    return runQuery(ZBXMLParser::escapeQueryString(query), node);
}

void appendReference(std::string& out, char32_t unit) {
    out += "&#" + std::to_string(static_cast<unsigned long>(unit)) + ";";
}

// As UTF-16 units, which is what the references stand for.
void appendReferences(std::string& out, char32_t character) {
    constexpr char32_t firstOfPairs = 0x10000;
    if (character < firstOfPairs) return appendReference(out, character);
    appendReference(out, 0xD800 + ((character - firstOfPairs) >> 10));
    appendReference(out, 0xDC00 + ((character - firstOfPairs) & 0x3FF));
}

bool liesInTransition(TreeNode item, std::string_view edge) {
    return xmltree::childText(item, edge) == "-1";
}

// Walks from a clip over its siblings to one side for as long as transitions join them. `inner` is
// the edge of the clip on that side, `outer` the edge that a neighbour must have in a transition.
// Gives the last edge that was met.
std::string_view gatherJoined(TreeNode clip, std::string_view inner, std::string_view outer,
                              TreeNode (*neighbour)(TreeNode), std::vector<TreeNode>& joined) {
    std::string_view edge = xmltree::childText(clip, inner).value_or("");
    if (edge != "-1") return edge;
    for (auto item = neighbour(clip); item; item = neighbour(item)) {
        joined.push_back(item);
        if (xmltree::name(item) == "transitionitem" && liesInTransition(neighbour(item), outer)) {
            continue;
        }
        edge = xmltree::childText(item, inner).value_or("");
        if (edge != "-1") break;
    }
    return edge;
}

}  // namespace

std::string ZBXMLParser::escapeQueryString(std::string_view query) {
    constexpr std::string_view ampersand = "&amp;";
    std::string escaped;
    escaped.reserve(query.size());
    while (!query.empty()) {
        const auto [character, length] = firstCharacter(query);
        if (character >= firstEscaped) {
            appendReferences(escaped, character);
        } else if (character == U'&') {
            // What is an entity already stays one.
            escaped += query.starts_with(ampersand) ? std::string_view("&") : ampersand;
        } else if (character == U'\r') {
            escaped += "&#13;";
        } else if (character <= lastDropped) {
            ZBLog::fastAppendLog("Stripped character %@", query.substr(0, length));
        } else {
            escaped += query.substr(0, length);
        }
        query.remove_prefix(length);
    }
    return escaped;
}

std::optional<std::vector<std::string>> ZBXMLParser::stringValuesForQuery(std::string_view query,
                                                                          TreeNode node) {
    const auto found = run(query, node);
    if (!found || found->empty()) return std::nullopt;
    std::vector<std::string> values;
    for (const XMLNode& hit : *found) values.push_back(hit.stringValue());
    return values;
}

std::optional<std::string> ZBXMLParser::stringValueForQuery(std::string_view query,
                                                            TreeNode inElement) {
    const auto found = run(query, inElement);
    if (!found || found->empty()) return std::nullopt;
    return found->front().stringValue();
}

std::vector<XMLNode> ZBXMLParser::nodesForQuery(std::string_view query, TreeNode inElement) {
    return logged(run(query, inElement));
}

XMLNode ZBXMLParser::nodeForQuery(std::string_view query, TreeNode inElement) {
    const auto found = nodesForQuery(query, inElement);
    return found.empty() ? XMLNode() : found.front();
}

std::vector<XMLNode> ZBXMLParser::nodesFromQueries(TreeNode node,
                                                   std::span<const std::string> queries) {
    std::vector<XMLNode> all;
    for (const std::string& query : queries) {
        for (const XMLNode& hit : nodesForQuery(query, node)) {
            if (std::find(all.begin(), all.end(), hit) == all.end()) all.push_back(hit);
        }
    }
    return all;
}

std::vector<XMLNode> ZBXMLParser::queryNodes(std::span<const TreeNode> nodes,
                                             std::string_view withXPath) {
    std::vector<XMLNode> all;
    for (const TreeNode node : nodes) {
        const auto found = run(withXPath, node);
        if (found) all.insert(all.end(), found->begin(), found->end());
    }
    return all;
}

std::optional<std::string> ZBXMLParser::nameForNode(TreeNode node,
                                                    ImmediateChildOnly immediateChildOnly) {
    if (auto name = resolved(textOf(node, "name", immediateChildOnly))) return name;
    if (immediateChildOnly == ImmediateChildOnly::yes) return std::nullopt;
    return idAttributeForNode(node);
}

std::optional<std::string> ZBXMLParser::uuidForNode(TreeNode node,
                                                    ImmediateChildOnly immediateChildOnly) {
    return resolved(textOf(node, "uuid", immediateChildOnly));
}

std::optional<std::string> ZBXMLParser::idAttributeForNode(TreeNode node) {
    const auto attribute = node.attribute("id");
    if (!attribute) return std::nullopt;
    return withPercentEscapesResolved(attribute.value());
}

TreeNode ZBXMLParser::parentWithName(TreeNode node, std::string_view name,
                                     std::span<const std::string_view> limits) {
    for (node = node.parent(); node; node = node.parent()) {
        if (std::find(limits.begin(), limits.end(), xmltree::name(node)) != limits.end()) return {};
        if (xmltree::name(node) == name) return node;
    }
    return {};
}

TreeNode ZBXMLParser::nextSiblingForNode(TreeNode node) {
    return xmltree::following(node);
}

std::optional<std::string> ZBXMLParser::filenameFromPathURLString(
    const std::optional<std::string>& pathURL) {
    if (!pathURL) return std::nullopt;
    std::string_view path = *pathURL;
    path = path.substr(0, path.find_first_of("?#"));
    if (const size_t scheme = path.find("://"); scheme != std::string_view::npos) {
        path.remove_prefix(scheme + 3);
        path.remove_prefix(std::min(path.find('/'), path.size()));
    }
    return resolvingPercentEscapes(path, EscapedBytes::any).value_or(std::string(path));
}

ZBXMLParser::AffectedNodes ZBXMLParser::affectedNodesForClip(TreeNode clip) {
    AffectedNodes affected;
    const auto start =
        gatherJoined(clip, "start", "end", xmltree::previousElementSibling, affected.nodes);
    std::reverse(affected.nodes.begin(), affected.nodes.end());
    affected.nodes.push_back(clip);
    const auto end =
        gatherJoined(clip, "end", "start", xmltree::nextElementSibling, affected.nodes);
    affected.rangeStart = integerValue(start);
    affected.rangeEnd = integerValue(end);
    return affected;
}

}  // namespace larkspan
