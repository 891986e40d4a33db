#pragma once

#include "changes/NodeTable.h"

#include <array>
#include <string_view>
#include <vector>

namespace larkspan {

// Fills a table in document order. One thread.
class NodeTableBuilder {
  public:
    // Begins afresh.
    explicit NodeTableBuilder(NodeTable& table);

    // A child of the open element, or of the document while none is open. It is open itself then.
    void openElement(std::string_view name);
    void closeElement();
    // Of the element that was opened last, before anything is added to it.
    void addAttribute(std::string_view name, std::string_view value);
    // A text of the open element: its value when it begins with it, else a node of its own.
    void addText(std::string_view text);
    void addLeaf(NodeKind kind, std::string_view name, std::string_view value);

    // How many elements are open, and the name of the innermost.
    size_t level() const { return open_.size() - 1; }
    std::string_view openName() const {
        return {table_.name(open_.back().name.place), open_.back().name.size};
    }

    // To be called once, when everything is added.
    void finish();

  private:
    // Where a name lies, and how long it is.
    struct StoredName {
        std::uint32_t place = 0;
        std::uint32_t size = 0;
    };
    struct Open {
        std::uint32_t record;
        std::uint32_t lastChild;  // 0 when it has none yet
        StoredName name;
    };

    std::uint32_t addRecord(NodeKind kind, std::uint32_t name, std::uint32_t value);
    StoredName storedName(std::string_view name);
    std::uint32_t soughtName(std::string_view name);
    std::uint32_t storedValue(std::string_view value);
    void growSlots();

    NodeTable& table_;
    std::vector<Open> open_;  // the document first
    // Where the names begin, each in a slot that its hash gives, or the next one that is free.
    std::vector<std::uint32_t> slots_;
    size_t nameCount_ = 0;
    // Names that were met last, by what is told of them fastest.
    std::array<StoredName, 1024> recent_ = {};
};

}  // namespace larkspan
