#include "platform/linux/WatchTree.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace larkspan::platform {

std::uint32_t FolderNames::add(std::string_view name) {
    assert(name.size() + longPrefix <= blockSize);
    const bool isLong = name.size() >= longMark;
    const size_t prefix = isLong ? longPrefix : 1;
    const auto needed = static_cast<std::uint32_t>(prefix + name.size());
    if (needed > free_) {
        blocks_.emplace_back(new char[blockSize]);
        free_ = blockSize;
    }
    const auto place = static_cast<std::uint32_t>(blocks_.size()) * blockSize - free_;
    char* start = blocks_.back().get() + place % blockSize;
    start[0] = static_cast<char>(isLong ? longMark : name.size());
    if (isLong) {
        start[1] = static_cast<char>(name.size() >> 8U);
        start[2] = static_cast<char>(name.size() & 0xffU);
    }
    std::copy(name.begin(), name.end(), start + prefix);
    free_ -= needed;
    used_ += needed;
    return place;
}

std::string_view FolderNames::at(std::uint32_t place) const {
    const char* start = blocks_[place / blockSize].get() + place % blockSize;
    const auto byte = [&](size_t at) { return static_cast<unsigned char>(start[at]); };
    if (byte(0) < longMark) return {start + 1, byte(0)};
    return {start + longPrefix, static_cast<size_t>(byte(1)) << 8U | byte(2)};
}

void FolderNames::drop(std::uint32_t place) {
    const size_t length = at(place).size();
    dropped_ += length + (length < longMark ? 1 : longPrefix);
}

const WatchTree::Node* WatchTree::find(int folder) const {
    if (folder <= 0) return nullptr;
    const auto place = static_cast<size_t>(folder);
    if (place / pageSize >= pages_.size()) return nullptr;
    const Page* page = pages_[place / pageSize].get();
    if (!page) return nullptr;
    const Node& node = page->nodes[place % pageSize];
    return node.parent != 0 ? &node : nullptr;
}

WatchTree::Node& WatchTree::node(int folder) {
    const auto place = static_cast<size_t>(folder);
    return pages_[place / pageSize]->nodes[place % pageSize];
}

void WatchTree::link(int folder, int parent) {
    Node& linked = node(folder);
    linked.parent = parent;
    linked.previous = 0;
    linked.next = 0;
    if (parent < 0) return;
    Node& above = node(parent);
    linked.next = above.firstChild;
    if (linked.next != 0) node(linked.next).previous = folder;
    above.firstChild = folder;
}

void WatchTree::unlink(int folder) {
    Node& linked = node(folder);
    if (linked.next != 0) node(linked.next).previous = linked.previous;
    if (linked.previous != 0) {
        node(linked.previous).next = linked.next;
    } else if (linked.parent > 0) {
        node(linked.parent).firstChild = linked.next;
    }
}

void WatchTree::insert(int folder, int parent, std::string_view name) {
    assert(folder > 0 && !contains(folder));
    const size_t page = static_cast<size_t>(folder) / pageSize;
    if (page >= pages_.size()) pages_.resize(page + 1);
    if (!pages_[page]) pages_[page] = std::make_unique<Page>();
    ++pages_[page]->used;
    ++size_;
    node(folder) = Node{};
    node(folder).name = names_.add(name) & 0x7fffffffU;
    link(folder, parent);
}

void WatchTree::move(int folder, int parent, std::string_view name) {
    assert(!isWithin(parent, folder));
    const std::string kept(name);  // may be one of our own names, which packing moves
    unlink(folder);
    names_.drop(node(folder).name);
    node(folder).name = names_.add(kept) & 0x7fffffffU;
    link(folder, parent);
    packNames();
}

void WatchTree::erase(int folder) {
    assert(node(folder).firstChild == 0);
    unlink(folder);
    names_.drop(node(folder).name);
    node(folder).parent = 0;
    --size_;
    auto& page = pages_[static_cast<size_t>(folder) / pageSize];
    if (--page->used == 0) page.reset();
    packNames();
}

void WatchTree::packNames() {
    if (!names_.isWasteful()) return;
    FolderNames packed;
    for (auto& page : pages_) {
        if (!page) continue;
        for (Node& kept : page->nodes) {
            if (kept.parent != 0) kept.name = packed.add(names_.at(kept.name)) & 0x7fffffffU;
        }
    }
    names_ = std::move(packed);
}

void WatchTree::setRootPath(size_t root, std::string path) {
    rootPaths_.resize(std::max(rootPaths_.size(), root + 1));
    rootPaths_[root] = std::move(path);
}

bool WatchTree::isAt(int folder, int parent, std::string_view name) const {
    const Node* found = find(folder);
    return found && found->parent == parent && names_.at(found->name) == name;
}

bool WatchTree::isWithin(int folder, int other) const {
    while (folder > 0 && folder != other) folder = parent(folder);
    return folder == other;
}

size_t WatchTree::rootOf(int folder) const {
    while (folder > 0) folder = parent(folder);
    return static_cast<size_t>(-1 - folder);
}

int WatchTree::child(int folder, std::string_view name) const {
    int at = find(folder)->firstChild;
    while (at != 0 && this->name(at) != name) at = find(at)->next;
    return at;
}

std::vector<int> WatchTree::subtree(int folder) const {
    std::vector<int> found{folder};
    for (size_t at = 0; at < found.size(); ++at) {
        for (int below = find(found[at])->firstChild; below != 0; below = find(below)->next) {
            found.push_back(below);
        }
    }
    return found;
}

std::string WatchTree::path(int folder) const {
    size_t length = 0;
    int above = folder;
    for (; parent(above) > 0; above = parent(above)) length += name(above).size() + 1;
    const std::string& root = rootPaths_[rootOf(above)];
    std::string path(root.size() + length, '/');
    std::copy(root.begin(), root.end(), path.begin());
    size_t end = path.size();
    for (int at = folder; at != above; at = parent(at)) {
        const std::string_view part = name(at);
        end -= part.size() + 1;
        std::copy(part.begin(), part.end(), path.begin() + static_cast<std::ptrdiff_t>(end));
    }
    return path;
}

}  // namespace larkspan::platform
