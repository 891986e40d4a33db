#pragma once

#include "changes/GrowingArray.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>

namespace larkspan {

class QueryTree;

enum class NodeKind : std::uint8_t { document, element, text, characterData, comment, instruction };

// A node as it lies in memory. Nodes stand in document order, so that the first child of one is the
// record behind it.
struct NodeRecord {
    std::uint32_t next : 28;  // the next sibling; 0 when there is none
    std::uint32_t kind : 3;
    std::uint32_t hasChildren : 1;
    std::uint32_t name;  // where it begins among the names
    // Where it begins among the values; of an element, the text that the element begins with.
    std::uint32_t value;
    std::uint32_t parent;
    std::uint32_t attributes;  // its first; those of the record behind begin behind its last

    NodeKind nodeKind() const { return static_cast<NodeKind>(kind); }
};

struct AttributeRecord {
    std::uint32_t name;
    std::uint32_t value;
};

// The nodes of one document, in a third of what the XML library's tree takes. Record 0 is the
// document itself. Does not change once it was built; read by any number of threads.
class NodeTable {
  public:
    NodeTable();
    ~NodeTable();
    NodeTable(const NodeTable&) = delete;
    NodeTable& operator=(const NodeTable&) = delete;

    const NodeRecord* record(std::uint32_t at) const { return records_.data() + at; }
    size_t numberOf(const NodeRecord* record) const {
        return static_cast<size_t>(record - records_.data());
    }
    // The document and all nodes below it.
    size_t size() const { return records_.size() - 1; }

    const AttributeRecord* attribute(std::uint32_t at) const { return attributes_.data() + at; }
    const char* name(std::uint32_t at) const { return names_.data() + at; }
    // Where a name begins; 0 when nothing is called so.
    std::uint32_t placeOfName(std::string_view name) const;
    const char* value(std::uint32_t at) const { return values_.data() + at; }

    // The document as the XML library's own tree; made when it is first asked for.
    const QueryTree& queryTree() const;

  private:
    friend class NodeTableBuilder;

    GrowingArray<NodeRecord> records_;  // and an empty one behind the last
    GrowingArray<AttributeRecord> attributes_;
    GrowingArray<char> names_;   // each once, with a zero byte behind it
    GrowingArray<char> values_;  // each with a zero byte behind it; the first is empty

    mutable std::once_flag queryTreeMade_;
    mutable std::unique_ptr<const QueryTree> queryTree_;
};

}  // namespace larkspan
