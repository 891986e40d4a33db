#include "changes/NodeTable.h"

#include "changes/QueryTree.h"

namespace larkspan {

NodeTable::NodeTable() = default;
NodeTable::~NodeTable() = default;

const QueryTree& NodeTable::queryTree() const {
    std::call_once(queryTreeMade_, [this] { queryTree_ = std::make_unique<QueryTree>(*this); });
    return *queryTree_;
}

}  // namespace larkspan
