#include "changes/XMLQuery.h"

#include "changes/CharacterReference.h"
#include "changes/XMLTree.h"

#include <optional>

namespace larkspan {
namespace {

constexpr std::string_view textStep = "text()";

Error queryError(std::string description) {
    return {"XMLQueryErrorDomain", 1, std::move(description)};
}

// XPath has no escapes: a literal stands in the kind of quotes that is not in it.
std::optional<std::string> quoted(const std::string& text) {
    for (const char quote : {'"', '\''}) {
        if (text.find(quote) == std::string::npos) return quote + text + quote;
    }
    return std::nullopt;
}

// A query in the library's own terms: literals without references; "text()" in predicates reads an
// element without elements in it, since the library does not see the text that an element begins
// with as a node.
Result<std::string> translated(std::string_view query) {
    std::string result;
    while (!query.empty()) {
        const char c = query.front();
        if (c == '"' || c == '\'') {
            const size_t end = query.find(c, 1);
            if (end == std::string_view::npos) return queryError("A string literal does not end.");
            const auto text = resolvingReferences(query.substr(1, end - 1));
            const auto literal = text ? quoted(*text) : std::nullopt;
            if (!literal) return queryError("A string literal cannot be read.");
            result += *literal;
            query.remove_prefix(end + 1);
        } else if (query.starts_with(textStep)) {
            result += "self::node()[not(*)]";
            query.remove_prefix(textStep.size());
        } else {
            result += c;
            query.remove_prefix(1);
        }
    }
    return result;
}

void appendTexts(std::vector<XMLNode>& found, pugi::xml_node element) {
    if (!xmltree::isElement(element)) return;
    const auto add = [&](const char* text) {
        if (*text == '\0') return;
        found.push_back({XMLNode::Kind::text, element, {}, text});
    };
    add(element.value());
    for (const pugi::xml_node node : element.children()) {
        if (xmltree::isText(node)) add(node.value());
    }
}

}  // namespace

std::string XMLNode::stringValue() const {
    switch (kind) {
        case Kind::attribute:
            return attribute.value();
        case Kind::text:
            return text;
        case Kind::element:
            break;
    }
    return xmltree::stringValue(node);
}

Result<std::vector<XMLNode>> runQuery(std::string_view query, pugi::xml_node node) {
    const bool asksForTexts = query.ends_with(textStep);
    if (asksForTexts) query.remove_suffix(textStep.size());
    auto translation = translated(query);
    if (!translation) return translation.error();
    if (asksForTexts) *translation += ".";
    std::vector<XMLNode> found;
    try {
        const pugi::xpath_query compiled(translation->c_str());
        pugi::xpath_node_set nodes = compiled.evaluate_node_set(node);
        nodes.sort();
        for (const pugi::xpath_node& hit : nodes) {
            if (asksForTexts) {
                appendTexts(found, hit.node());
            } else if (hit.attribute()) {
                found.push_back({XMLNode::Kind::attribute, hit.parent(), hit.attribute()});
            } else {
                found.push_back({XMLNode::Kind::element, hit.node(), {}});
            }
        }
    } catch (const pugi::xpath_exception& exception) {
        return queryError(exception.what());
    }
    return found;
}

}  // namespace larkspan
