#include "changes/LibraryReader.h"

#include "changes/NodeTableBuilder.h"
#include "changes/ParserGaps.h"
#include "foundation/MessageText.h"

#include <new>

#include <pugixml.hpp>

namespace larkspan {
namespace {

// Text outside of the root is kept so that it can be found; an element's first text becomes its
// value, which spares a node for most elements.
constexpr unsigned parseOptions = pugi::parse_default | pugi::parse_pi | pugi::parse_comments |
                                  pugi::parse_fragment | pugi::parse_embed_pcdata;

Error problem(std::string description) {
    return {xmlDocumentErrorDomain, 1, std::move(description)};
}

std::optional<Error> parse(std::string& bytes, pugi::xml_document& tree) {
    const bool isUtf8 = isUtf8WithoutZero(bytes);
    const bool hasKnownReferences = referencesAreKnown(bytes);
    const auto result = tree.load_buffer_inplace(bytes.data(), bytes.size(), parseOptions);
    if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
    if (!result) {
        return problem(messageText("%@ (at byte %li)", result.description(),
                                   static_cast<long>(result.offset)));
    }
    if (result.encoding == pugi::encoding_utf8 && !isUtf8) {
        return problem("The text is not in the encoding that the document declares.");
    }
    if (!hasKnownReferences) return problem("The document refers to an unknown entity.");
    return std::nullopt;
}

std::optional<Error> checkTop(const pugi::xml_document& tree) {
    size_t roots = 0;
    for (const pugi::xml_node node : tree.children()) {
        const auto type = node.type();
        if (type == pugi::node_pcdata || type == pugi::node_cdata) {
            return problem("There is text outside of the root element.");
        }
        if (type == pugi::node_element) ++roots;
    }
    if (*tree.value() != '\0') return problem("There is text outside of the root element.");
    if (roots == 1) return std::nullopt;
    return problem(roots == 0 ? "There is no root element."
                              : "There is more than one root element.");
}

void add(pugi::xml_node node, NodeTableBuilder& builder) {
    switch (node.type()) {
        case pugi::node_element:
            builder.openElement(node.name());
            for (const pugi::xml_attribute attribute : node.attributes()) {
                builder.addAttribute(attribute.name(), attribute.value());
            }
            if (*node.value() != '\0') builder.addText(node.value());
            break;
        case pugi::node_pcdata:
            builder.addText(node.value());
            break;
        case pugi::node_cdata:
            builder.addLeaf(NodeKind::characterData, {}, node.value());
            break;
        case pugi::node_comment:
            builder.addLeaf(NodeKind::comment, {}, node.value());
            break;
        default:
            builder.addLeaf(NodeKind::instruction, node.name(), node.value());
    }
}

std::optional<Error> copy(const pugi::xml_document& tree, size_t deepestLevel, NodeTable& table) {
    NodeTableBuilder builder(table);
    for (auto node = tree.first_child(); node;) {
        add(node, builder);
        if (builder.level() > deepestLevel) {
            return problem(messageText("Elements are nested deeper than %li levels.",
                                       static_cast<long>(deepestLevel)));
        }
        if (const auto first = node.first_child()) {
            node = first;
            continue;
        }
        if (node.type() == pugi::node_element) builder.closeElement();
        while (!node.next_sibling() && builder.level() > 0) {
            node = node.parent();
            builder.closeElement();
        }
        node = node.next_sibling();
    }
    builder.finish();
    return std::nullopt;
}

}  // namespace

std::optional<Error> readWithLibrary(std::string bytes, size_t deepestLevel, NodeTable& table) {
    if (bytes.empty()) return problem("The file is empty.");
    pugi::xml_document tree;
    if (auto error = parse(bytes, tree)) return error;
    if (auto error = checkTop(tree)) return error;
    return copy(tree, deepestLevel, table);
}

}  // namespace larkspan
