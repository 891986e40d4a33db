#include "changes/XMLDocument.h"

#include "changes/ParserGaps.h"
#include "foundation/MessageText.h"

#include <optional>

namespace larkspan {
namespace {

// Text outside of the root is kept so that it can be found; an element's first text becomes its
// value, which spares a node for most elements.
constexpr unsigned parseOptions = pugi::parse_default | pugi::parse_pi | pugi::parse_comments |
                                  pugi::parse_fragment | pugi::parse_embed_pcdata;

Error problem(std::string description) {
    return {xmlDocumentErrorDomain, 1, std::move(description)};
}

}  // namespace

Result<XMLDocument::Pointer> XMLDocument::read(std::string bytes) {
    const std::shared_ptr<XMLDocument> document(new XMLDocument(std::move(bytes)));
    if (auto error = document->parse()) return *std::move(error);
    if (auto error = document->checkTop()) return *std::move(error);
    if (auto error = document->lookThrough()) return *std::move(error);
    return Pointer(document);
}

std::optional<Error> XMLDocument::parse() {
    if (bytes_.empty()) return problem("The file is empty.");
    const bool isUtf8 = isUtf8WithoutZero(bytes_);
    const bool hasKnownReferences = referencesAreKnown(bytes_);
    const auto result = tree_.load_buffer_inplace(bytes_.data(), bytes_.size(), parseOptions);
    if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
    if (!result) {
        return problem(messageText("%@ (at byte %li)", result.description(),
                                   static_cast<long>(result.offset)));
    }
    if (result.encoding == pugi::encoding_utf8 && !isUtf8) {
        return problem("The text is not in the encoding that the document declares.");
    }
    if (!hasKnownReferences) return problem("The document refers to an unknown entity.");
    const bool isCopy = result.encoding != pugi::encoding_utf8;
    if (isCopy && result.encoding != pugi::encoding_latin1) std::string().swap(bytes_);
    return std::nullopt;
}

std::optional<Error> XMLDocument::checkTop() const {
    size_t roots = 0;
    for (const pugi::xml_node node : tree_.children()) {
        if (xmltree::isText(node)) return problem("There is text outside of the root element.");
        if (xmltree::isElement(node)) ++roots;
    }
    if (*tree_.value() != '\0') return problem("There is text outside of the root element.");
    if (roots == 1) return std::nullopt;
    return problem(roots == 0 ? "There is no root element."
                              : "There is more than one root element.");
}

void XMLDocument::take(pugi::xml_node element) {
    // An identifier is a text; whatever holds elements under that name is none.
    if (xmltree::areSame(element.name(), "uuid") && xmltree::isLeaf(element)) {
        identifiers_.uuids.push_back(xmltree::stringValue(element));
        uuidElements_.push_back(element);
    }
    if (xmltree::areSame(element.name(), "marker")) markers_.push_back(element);
    const auto id = element.attribute("id");
    if (!xmltree::exists(id)) return;
    identifiers_.ids.emplace_back(id.value());
    idOwners_.push_back(element);
}

std::optional<Error> XMLDocument::lookThrough() {
    using namespace xmltree;
    size_t level = 1;
    for (auto node = root(); exists(node);) {
        take(node);
        const auto first = firstElement(node);
        if (exists(first)) {
            if (++level > deepestLevel) {
                return problem(messageText("Elements are nested deeper than %li levels.",
                                           static_cast<long>(deepestLevel)));
            }
            node = first;
            continue;
        }
        auto sibling = nextElementSibling(node);
        while (exists(node) && !exists(sibling)) {
            node = node.parent();
            sibling = nextElementSibling(node);
            --level;
        }
        node = sibling;
    }
    return std::nullopt;
}

}  // namespace larkspan
