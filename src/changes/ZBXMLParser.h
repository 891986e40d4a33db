#pragma once

#include "changes/XMLQuery.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

enum class ImmediateChildOnly { no, yes };

// Reads nodes of a parsed document (XMLDocument). No state; any thread. A missing node has nothing.
class ZBXMLParser {
  public:
    // ---- queries: XPath, escaped before it is run ----

    // The query with what XPath must not see taken out or written as a reference. Characters that
    // are dropped are logged.
    static std::string escapeQueryString(std::string_view query);

    // The string values of what is found, in document order; empty when nothing is.
    static std::optional<std::vector<std::string>> stringValuesForQuery(std::string_view query,
                                                                        TreeNode node);
    static std::optional<std::string> stringValueForQuery(std::string_view query,
                                                          TreeNode inElement);
    // What is found; a query that cannot be run is logged and finds nothing.
    static std::vector<XMLNode> nodesForQuery(std::string_view query, TreeNode inElement);
    static XMLNode nodeForQuery(std::string_view query, TreeNode inElement);
    // What several queries find, each node once.
    static std::vector<XMLNode> nodesFromQueries(TreeNode node,
                                                 std::span<const std::string> queries);
    // What a query finds on several nodes, with repeats.
    static std::vector<XMLNode> queryNodes(std::span<const TreeNode> nodes,
                                           std::string_view withXPath);

    // ---- names and identifiers, percent escapes resolved ----

    // The text of the element's `name`, else of the first `name` anywhere below it, else its id.
    static std::optional<std::string> nameForNode(
        TreeNode node, ImmediateChildOnly immediateChildOnly = ImmediateChildOnly::no);
    // The text of the element's `uuid`, else of the first `uuid` anywhere below it.
    static std::optional<std::string> uuidForNode(
        TreeNode node, ImmediateChildOnly immediateChildOnly = ImmediateChildOnly::no);
    static std::optional<std::string> idAttributeForNode(TreeNode node);

    // ---- the tree around a node ----

    // The nearest ancestor of a name; none when one with a name of the limits comes first.
    static TreeNode parentWithName(TreeNode node, std::string_view name,
                                   std::span<const std::string_view> limits = {});
    // The next sibling of the node or of its nearest ancestor that has one.
    static TreeNode nextSiblingForNode(TreeNode node);

    // The path in a URL: "/Movies/A B.mov" in "file://localhost/Movies/A%20B.mov". Escapes of any
    // character are resolved.
    static std::optional<std::string> filenameFromPathURLString(
        const std::optional<std::string>& pathURL);

    // A clip item with the neighbours that transitions join to it, in the order of the track, and
    // where they start and end together (frames).
    struct AffectedNodes {
        std::vector<TreeNode> nodes;
        long rangeStart = 0;
        long rangeEnd = 0;
    };
    static AffectedNodes affectedNodesForClip(TreeNode clip);
};

}  // namespace larkspan
