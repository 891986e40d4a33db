#include "changes/XMLDocument.h"

#include "changes/PlainReader.h"
#include "foundation/MessageText.h"

namespace larkspan {

Result<XMLDocument::Pointer> XMLDocument::read(std::string bytes) {
    if (bytes.size() > largestSize) {
        return Error{
            xmlDocumentErrorDomain, 1,
            messageText("The file holds more than %li bytes.", static_cast<long>(largestSize))};
    }
    const std::shared_ptr<XMLDocument> document(new XMLDocument);
    TextWindow whole(bytes);
    if (!readPlain(whole, deepestLevel, document->nodes_)) {
        auto error = readWithLibrary(std::move(bytes), deepestLevel, document->nodes_);
        if (error) return *std::move(error);
    }
    document->gatherIdentifiers();
    return Pointer(document);
}

XMLDocument::Pointer XMLDocument::readPieces(PieceSource pieces) {
    const std::shared_ptr<XMLDocument> document(new XMLDocument);
    TextWindow text(std::move(pieces), largestSize);
    if (!readPlain(text, deepestLevel, document->nodes_)) return nullptr;
    document->gatherIdentifiers();
    return document;
}

void XMLDocument::takeUUID(TreeNode element) {
    // An identifier is a text; whatever holds elements under that name is none.
    if (!xmltree::isLeaf(element)) return;
    const bool isOnePiece = !element.firstChild();
    identifiers_.uuids.emplace_back(isOnePiece
                                        ? std::string_view(element.value())
                                        : joined_.emplace_back(xmltree::stringValue(element)));
    uuidElements_.push_back(element);
}

void XMLDocument::takeId(TreeNode element) {
    const auto id = element.attribute("id");
    if (!id) return;
    identifiers_.ids.emplace_back(id.value());
    idOwners_.push_back(element);
}

void XMLDocument::gatherIdentifiers() {
    const auto uuid = nodes_.placeOfName("uuid");
    const auto marker = nodes_.placeOfName("marker");
    for (std::uint32_t at = 0; at < nodes_.size(); ++at) {
        const NodeRecord* record = nodes_.record(at);
        if (record->nodeKind() != NodeKind::element) continue;
        const TreeNode element(nodes_, record);
        if (record->name == uuid) takeUUID(element);
        if (record->name == marker) markers_.push_back(element);
        if (record->attributes != record[1].attributes) takeId(element);
    }
}

}  // namespace larkspan
