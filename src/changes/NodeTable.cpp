#include "changes/NodeTable.h"

#include "changes/QueryTree.h"

namespace larkspan {

NodeTable::NodeTable() = default;
NodeTable::~NodeTable() = default;

std::uint32_t NodeTable::placeOfName(std::string_view name) const {
    for (size_t at = 1; at < names_.size();) {
        const std::string_view known = this->name(static_cast<std::uint32_t>(at));
        if (known == name) return static_cast<std::uint32_t>(at);
        at += known.size() + 1;
    }
    return 0;
}

const QueryTree& NodeTable::queryTree() const {
    std::call_once(queryTreeMade_, [this] { queryTree_ = std::make_unique<QueryTree>(*this); });
    return *queryTree_;
}

}  // namespace larkspan
