#pragma once

#include "changes/XMLTree.h"
#include "foundation/Result.h"

#include <memory>
#include <string>
#include <vector>

namespace larkspan {

// The identifiers of a document in document order, repeats kept: the string value of every `uuid`
// element, the value of every `id` attribute.
struct IdentifierLists {
    std::vector<std::string> uuids;
    std::vector<std::string> ids;
};

// Of errors that say why bytes are no document.
inline constexpr const char* xmlDocumentErrorDomain = "XMLDocumentErrorDomain";

// A parsed XML document, which never changes. White-space-only text is not part of it. Owned by who
// holds the pointer; nodes live as long. Read by any number of threads.
class XMLDocument {
  public:
    using Pointer = std::shared_ptr<const XMLDocument>;

    // Parses the bytes of a file. An error in words for what is no whole, well-formed document of
    // one root: torn files, text outside of the root, references to unknown entities, bytes that
    // are not in the encoding that the document declares, and elements nested deeper than
    // `deepestLevel`.
    static Result<Pointer> read(std::string bytes);

    // Real documents nest to 26 levels. A bound keeps every look at what stands above an element
    // cheap.
    static constexpr size_t deepestLevel = 1000;

    XMLDocument(const XMLDocument&) = delete;
    XMLDocument& operator=(const XMLDocument&) = delete;
    ~XMLDocument() = default;

    // The document itself, above the root, and its root element.
    pugi::xml_node top() const { return tree_; }
    pugi::xml_node root() const { return tree_.document_element(); }

    const IdentifierLists& identifiers() const { return identifiers_; }
    // The elements that the entries of those lists belong to.
    const std::vector<pugi::xml_node>& uuidElements() const { return uuidElements_; }
    const std::vector<pugi::xml_node>& idOwners() const { return idOwners_; }
    // The `marker` elements in document order.
    const std::vector<pugi::xml_node>& markers() const { return markers_; }

  private:
    explicit XMLDocument(std::string bytes) : bytes_(std::move(bytes)) {}

    std::optional<Error> parse();
    std::optional<Error> checkTop() const;
    std::optional<Error> lookThrough();
    void take(pugi::xml_node element);

    std::string bytes_;  // the tree points into them
    pugi::xml_document tree_;
    IdentifierLists identifiers_;
    std::vector<pugi::xml_node> uuidElements_;
    std::vector<pugi::xml_node> idOwners_;
    std::vector<pugi::xml_node> markers_;
};

}  // namespace larkspan
