#pragma once

#include "changes/LibraryReader.h"
#include "changes/NodeTable.h"
#include "changes/TextWindow.h"
#include "changes/XMLTree.h"
#include "foundation/Result.h"

#include <deque>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

// The identifiers of a document in document order, repeats kept: the string value of every `uuid`
// element, the value of every `id` attribute. They live as long as the document.
using IdentifierList = std::span<const std::string_view>;
struct IdentifierLists {
    std::vector<std::string_view> uuids;
    std::vector<std::string_view> ids;
};

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

    // The same from a text that comes in pieces, for what most documents are (see PlainReader.h).
    // Null when `read` is to decide.
    static Pointer readPieces(PieceSource pieces);

    // Real documents nest to 26 levels. A bound keeps every look at what stands above an element
    // cheap.
    static constexpr size_t deepestLevel = 1000;
    // Several times what is compared at all, and within what the numbers of a node can count.
    static constexpr size_t largestSize = size_t{512} * 1024 * 1024;

    XMLDocument(const XMLDocument&) = delete;
    XMLDocument& operator=(const XMLDocument&) = delete;
    ~XMLDocument() = default;

    // The document itself, above the root, and its root element.
    TreeNode top() const { return {nodes_, nodes_.record(0)}; }
    TreeNode root() const { return xmltree::firstElement(top()); }

    const IdentifierLists& identifiers() const { return identifiers_; }
    // The elements that the entries of those lists belong to.
    const std::vector<TreeNode>& uuidElements() const { return uuidElements_; }
    const std::vector<TreeNode>& idOwners() const { return idOwners_; }
    // The `marker` elements in document order.
    const std::vector<TreeNode>& markers() const { return markers_; }

  private:
    XMLDocument() = default;

    void gatherIdentifiers();
    void takeUUID(TreeNode element);
    void takeId(TreeNode element);

    NodeTable nodes_;
    IdentifierLists identifiers_;
    std::deque<std::string> joined_;  // identifiers that stand in several pieces
    std::vector<TreeNode> uuidElements_;
    std::vector<TreeNode> idOwners_;
    std::vector<TreeNode> markers_;
};

}  // namespace larkspan
