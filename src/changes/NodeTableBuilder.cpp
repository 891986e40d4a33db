#include "changes/NodeTableBuilder.h"

#include <functional>

namespace larkspan {
namespace {

constexpr std::uint32_t freeSlot = 0;  // where the empty name lies
constexpr size_t fewestSlots = 1024;   // a power of two

size_t hashed(std::string_view name) {
    return std::hash<std::string_view>()(name);
}

}  // namespace

NodeTableBuilder::NodeTableBuilder(NodeTable& table) : table_(table), slots_(fewestSlots) {
    table_.records_.clear();
    table_.attributes_.clear();
    table_.names_.clear();
    table_.values_.clear();
    table_.names_.append('\0');
    table_.values_.append('\0');
    table_.records_.append({.next = 0,
                            .kind = static_cast<std::uint32_t>(NodeKind::document),
                            .hasChildren = 0,
                            .name = 0,
                            .value = 0,
                            .parent = 0,
                            .attributes = 0});
    open_.push_back({0, 0, {}});
}

std::uint32_t NodeTableBuilder::addRecord(NodeKind kind, std::uint32_t name, std::uint32_t value) {
    Open& parent = open_.back();
    const auto added = static_cast<std::uint32_t>(table_.records_.size());
    if (parent.lastChild != 0) {
        table_.records_[parent.lastChild].next = added & 0xFFFFFFF;
    } else {
        table_.records_[parent.record].hasChildren = 1;
    }
    parent.lastChild = added;
    table_.records_.append({.next = 0,
                            .kind = static_cast<std::uint32_t>(kind) & 0x7,
                            .hasChildren = 0,
                            .name = name,
                            .value = value,
                            .parent = parent.record,
                            .attributes = static_cast<std::uint32_t>(table_.attributes_.size())});
    return added;
}

void NodeTableBuilder::openElement(std::string_view name) {
    const StoredName stored = storedName(name);
    open_.push_back({addRecord(NodeKind::element, stored.place, 0), 0, stored});
}

void NodeTableBuilder::closeElement() {
    open_.pop_back();
}

void NodeTableBuilder::addAttribute(std::string_view name, std::string_view value) {
    table_.attributes_.append({storedName(name).place, storedValue(value)});
}

void NodeTableBuilder::addText(std::string_view text) {
    NodeRecord& element = table_.records_[open_.back().record];
    if (element.hasChildren == 0 && element.value == 0) {
        element.value = storedValue(text);
    } else {
        (void)addRecord(NodeKind::text, 0, storedValue(text));
    }
}

void NodeTableBuilder::addLeaf(NodeKind kind, std::string_view name, std::string_view value) {
    (void)addRecord(kind, storedName(name).place, storedValue(value));
}

void NodeTableBuilder::finish() {
    table_.records_.append({.next = 0,
                            .kind = 0,
                            .hasChildren = 0,
                            .name = 0,
                            .value = 0,
                            .parent = 0,
                            .attributes = static_cast<std::uint32_t>(table_.attributes_.size())});
    table_.records_.fit();
    table_.attributes_.append({0, 0});  // so that there is memory in any case
    table_.attributes_.fit();
    table_.names_.fit();
    table_.values_.fit();
}

std::uint32_t NodeTableBuilder::storedValue(std::string_view value) {
    if (value.empty()) return 0;
    const auto stored = static_cast<std::uint32_t>(table_.values_.size());
    table_.values_.append(value.data(), value.size());
    table_.values_.append('\0');
    return stored;
}

NodeTableBuilder::StoredName NodeTableBuilder::storedName(std::string_view name) {
    if (name.empty()) return {};
    const auto byte = [](char c) { return static_cast<unsigned char>(c); };
    const size_t likely = byte(name.front()) * 31U + byte(name.back()) * 7U + name.size();
    StoredName& recent = recent_[likely % recent_.size()];
    if (std::string_view(table_.name(recent.place), recent.size) != name) {
        recent = {soughtName(name), static_cast<std::uint32_t>(name.size())};
    }
    return recent;
}

std::uint32_t NodeTableBuilder::soughtName(std::string_view name) {
    const size_t mask = slots_.size() - 1;
    size_t slot = hashed(name) & mask;
    for (; slots_[slot] != freeSlot; slot = (slot + 1) & mask) {
        if (name == table_.name(slots_[slot])) return slots_[slot];
    }
    const auto stored = static_cast<std::uint32_t>(table_.names_.size());
    table_.names_.append(name.data(), name.size());
    table_.names_.append('\0');
    slots_[slot] = stored;
    if (++nameCount_ * 2 > slots_.size()) growSlots();
    return stored;
}

void NodeTableBuilder::growSlots() {
    std::vector<std::uint32_t> larger(slots_.size() * 2);
    const size_t mask = larger.size() - 1;
    for (const std::uint32_t stored : slots_) {
        if (stored == freeSlot) continue;
        size_t slot = hashed(table_.name(stored)) & mask;
        while (larger[slot] != freeSlot) slot = (slot + 1) & mask;
        larger[slot] = stored;
    }
    slots_ = std::move(larger);
}

}  // namespace larkspan
