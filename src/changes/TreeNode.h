#pragma once

#include "changes/NodeTable.h"

#include <cstddef>
#include <string_view>

namespace larkspan {

// An attribute of an element, or none. Cheap to copy; valid as long as the document.
class TreeAttribute {
  public:
    TreeAttribute() = default;
    TreeAttribute(const NodeTable& table, const AttributeRecord* record)
        : table_(&table), record_(record) {}

    explicit operator bool() const { return record_ != nullptr; }
    // Empty for none.
    const char* name() const { return record_ ? table_->name(record_->name) : ""; }
    const char* value() const { return record_ ? table_->value(record_->value) : ""; }

    friend bool operator==(TreeAttribute one, TreeAttribute other) {
        return one.record_ == other.record_;
    }

  private:
    const NodeTable* table_ = nullptr;
    const AttributeRecord* record_ = nullptr;
};

class TreeChildren;

// The attributes of an element in their order.
class TreeAttributes {
  public:
    class Iterator {
      public:
        Iterator(const NodeTable* table, const AttributeRecord* record)
            : table_(table), record_(record) {}
        TreeAttribute operator*() const { return {*table_, record_}; }
        Iterator& operator++() {
            ++record_;
            return *this;
        }
        friend bool operator==(Iterator, Iterator) = default;

      private:
        const NodeTable* table_;
        const AttributeRecord* record_;
    };

    TreeAttributes() = default;
    TreeAttributes(const NodeTable& table, std::uint32_t first, std::uint32_t behind)
        : table_(&table), first_(table.attribute(first)), behind_(table.attribute(behind)) {}

    Iterator begin() const { return {table_, first_}; }
    Iterator end() const { return {table_, behind_}; }
    size_t size() const { return static_cast<size_t>(behind_ - first_); }
    TreeAttribute operator[](size_t at) const { return {*table_, first_ + at}; }

  private:
    const NodeTable* table_ = nullptr;
    const AttributeRecord* first_ = nullptr;
    const AttributeRecord* behind_ = nullptr;
};

// A node of a document, or none: what is asked of none is none or empty. Cheap to copy; valid as
// long as the document.
class TreeNode {
  public:
    TreeNode() = default;
    TreeNode(const NodeTable& table, const NodeRecord* record) : table_(&table), record_(record) {}

    explicit operator bool() const { return record_ != nullptr; }
    bool isDocument() const { return isOf(NodeKind::document); }
    bool isElement() const { return isOf(NodeKind::element); }
    bool isText() const { return isOf(NodeKind::text) || isOf(NodeKind::characterData); }
    bool isOf(NodeKind kind) const { return record_ && record_->nodeKind() == kind; }
    // Only of a node that is one.
    NodeKind kind() const { return record_->nodeKind(); }

    const char* name() const { return record_ ? table_->name(record_->name) : ""; }
    // Of an element the text that it begins with.
    const char* value() const { return record_ ? table_->value(record_->value) : ""; }

    TreeNode parent() const { return record_ && !isDocument() ? at(record_->parent) : TreeNode(); }
    // What stands above all.
    TreeNode document() const { return record_ ? at(0) : TreeNode(); }
    TreeNode firstChild() const {
        return record_ && record_->hasChildren != 0 ? TreeNode(*table_, record_ + 1) : TreeNode();
    }
    TreeNode nextSibling() const {
        return record_ && record_->next != 0 ? at(record_->next) : TreeNode();
    }
    // These go through the siblings before the node.
    TreeNode previousSibling() const;
    TreeNode lastChild() const;

    inline TreeChildren children() const;
    TreeAttributes attributes() const {
        if (!record_) return {};
        return {*table_, record_->attributes, record_[1].attributes};
    }
    // The first of that name.
    TreeAttribute attribute(std::string_view attributeName) const;

    // The table that it lies in, and its record there. Only of a node that is one.
    const NodeTable& table() const { return *table_; }
    const NodeRecord* record() const { return record_; }

    friend bool operator==(TreeNode one, TreeNode other) { return one.record_ == other.record_; }

  private:
    TreeNode at(std::uint32_t record) const { return {*table_, table_->record(record)}; }

    const NodeTable* table_ = nullptr;
    const NodeRecord* record_ = nullptr;
};

// The children of a node in their order.
class TreeChildren {
  public:
    class Iterator {
      public:
        explicit Iterator(TreeNode node) : node_(node) {}
        TreeNode operator*() const { return node_; }
        Iterator& operator++() {
            node_ = node_.nextSibling();
            return *this;
        }
        friend bool operator==(Iterator, Iterator) = default;

      private:
        TreeNode node_;
    };

    explicit TreeChildren(TreeNode parent) : parent_(parent) {}
    Iterator begin() const { return Iterator(parent_.firstChild()); }
    static Iterator end() { return Iterator(TreeNode()); }

  private:
    TreeNode parent_;
};

inline TreeChildren TreeNode::children() const {
    return TreeChildren(*this);
}

}  // namespace larkspan
