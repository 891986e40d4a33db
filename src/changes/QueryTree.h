#pragma once

#include "changes/NodeTable.h"

#include <unordered_map>
#include <vector>

#include <pugixml.hpp>

namespace larkspan {

// A document as the XML library's own tree, for its query language: many times what the table
// takes, and made only where somebody asks with a query. Read by any number of threads.
class QueryTree {
  public:
    explicit QueryTree(const NodeTable& table);
    QueryTree(const QueryTree&) = delete;
    QueryTree& operator=(const QueryTree&) = delete;
    ~QueryTree() = default;

    // The library's node of a record of the table.
    pugi::xml_node nodeOf(const NodeRecord* record) const;
    // The record of the library's node; null for the text that an element begins with.
    const NodeRecord* recordOf(pugi::xml_node node) const;

  private:
    pugi::xml_node added(const NodeRecord* record);

    const NodeTable& table_;
    pugi::xml_document tree_;
    std::vector<pugi::xml_node> nodes_;  // by the numbers of their records
    std::unordered_map<const void*, const NodeRecord*> records_;
};

}  // namespace larkspan
