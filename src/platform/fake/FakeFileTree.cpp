#include "platform/fake/FakeFileTree.h"

#include "foundation/Text.h"

#include <algorithm>
#include <cerrno>
#include <deque>

namespace larkspan::platform {
namespace {

constexpr int mostLinks = 40;
constexpr size_t longestName = 255;
constexpr unsigned goThrough = 1;

void prepend(std::deque<std::string>& names, const std::string& path) {
    auto pieces = split(path, '/');
    std::erase_if(pieces, [](const std::string& piece) { return piece.empty() || piece == "."; });
    names.insert(names.begin(), pieces.begin(), pieces.end());
}

}  // namespace

FakeFileTree::FakeFileTree() {
    root_ = makeNode(EntryKind::folder, 0755, Date());
}

FakeFileTree::Found FakeFileTree::find(const Path& path, LastLink lastLink) const {
    if (path.empty()) return {ENOENT, nullptr, nullptr, ""};
    return find(root_, path.str(), lastLink);
}

FakeFileTree::Found FakeFileTree::find(const FakeNodePointer& from, const std::string& path,
                                       LastLink lastLink) const {
    if (path.find('\0') != path.npos) return {ENOENT, nullptr, nullptr, ""};
    std::deque<std::string> names;
    prepend(names, path);
    std::vector<FakeNodePointer> above{path.starts_with('/') ? root_ : from};
    for (int links = 0; !names.empty();) {
        const std::string name = std::move(names.front());
        names.pop_front();
        const FakeNodePointer folder = above.back();
        if (folder->kind != EntryKind::folder) return {ENOTDIR, nullptr, nullptr, ""};
        if (!folder->allows(goThrough)) return {EACCES, nullptr, nullptr, ""};
        if (name.size() > longestName) return {ENAMETOOLONG, nullptr, nullptr, ""};
        if (name == "..") {
            if (above.size() > 1) above.pop_back();
            continue;
        }
        const auto entry = folder->entries.find(name);
        if (entry == folder->entries.end()) {
            return {ENOENT, nullptr, names.empty() ? folder : nullptr, name};
        }
        const FakeNodePointer& node = entry->second;
        const bool last = names.empty();
        if (node->kind != EntryKind::symbolicLink || (last && lastLink == LastLink::keep)) {
            if (last) return {0, node, folder, name};
            above.push_back(node);
            continue;
        }
        if (++links > mostLinks) return {ELOOP, nullptr, nullptr, ""};
        if (node->content.starts_with('/')) above = {root_};
        prepend(names, node->content);
    }
    return {0, above.back(), nullptr, ""};
}

FakeNodePointer FakeFileTree::makeNode(EntryKind kind, unsigned permissions, Date date) {
    auto node = std::make_shared<FakeNode>();
    node->kind = kind;
    node->permissions = permissions;
    node->modificationDate = node->attributeChangeDate = date;
    node->inode = ++lastInode_;
    return node;
}

FileInfo FakeFileTree::info(const FakeNode& node) const {
    return {.kind = node.kind,
            .size = node.size(),
            .modificationDate = node.modificationDate,
            .attributeChangeDate = node.attributeChangeDate,
            .permissions = node.permissions,
            .owner = node.owner,
            .identity = {.device = 1, .inode = node.inode}};
}

std::vector<DirectoryEntry> FakeFileTree::list(const FakeNode& folder) {
    std::vector<DirectoryEntry> found;
    for (const auto& [name, node] : folder.entries) found.push_back({name, node->kind});
    std::sort(found.begin(), found.end(),
              [](const auto& a, const auto& b) { return listingOrder(a.name, b.name); });
    return found;
}

void FakeFileTree::put(FakeNode& folder, const std::string& name, FakeNodePointer node, Date now) {
    folder.entries[name] = std::move(node);
    folder.modificationDate = folder.attributeChangeDate = now;
}

void FakeFileTree::take(FakeNode& folder, const std::string& name, Date now) {
    folder.entries.erase(name);
    folder.modificationDate = folder.attributeChangeDate = now;
}

FakeNodePointer FakeFileTree::copy(const FakeNode& node, Date now) {
    auto made = std::make_shared<FakeNode>(node);
    made->inode = ++lastInode_;
    made->attributeChangeDate = now;
    std::erase_if(made->entries,
                  [](const auto& entry) { return entry.second->kind == EntryKind::other; });
    for (auto& [name, entry] : made->entries) entry = copy(*entry, now);
    return made;
}

bool FakeFileTree::isReadable(const FakeNode& node) {
    constexpr unsigned read = 4;
    const bool folder = node.kind == EntryKind::folder;
    const bool content = folder || node.kind == EntryKind::file;
    if (content && !node.allows(folder && !node.entries.empty() ? read | goThrough : read)) {
        return false;
    }
    return std::all_of(node.entries.begin(), node.entries.end(),
                       [](const auto& entry) { return isReadable(*entry.second); });
}

std::uint64_t FakeFileTree::bytesBelow(const FakeNode& node) {
    std::uint64_t bytes = node.kind == EntryKind::file ? node.size() : 0;
    for (const auto& [name, entry] : node.entries) bytes += bytesBelow(*entry);
    return bytes;
}

bool FakeFileTree::holds(const FakeNode& top, const FakeNode& node) {
    return &top == &node ||
           std::any_of(top.entries.begin(), top.entries.end(),
                       [&](const auto& entry) { return holds(*entry.second, node); });
}

Path FakeFileTree::pathOf(const FakeNode& node) const {
    Path path("/");
    for (const FakeNode* at = root_.get(); at != &node;) {
        const auto next = std::ranges::find_if(
            at->entries, [&](const auto& entry) { return holds(*entry.second, node); });
        path = path / next->first;
        at = next->second.get();
    }
    return path;
}

bool FakeFileTree::contentsEqual(const FakeNode& one, const FakeNode& other) {
    constexpr unsigned toRead = 4;
    if (one.kind != other.kind || one.kind == EntryKind::other) return false;
    if (one.kind == EntryKind::symbolicLink) return one.content == other.content;
    if (!one.allows(toRead) || !other.allows(toRead) || one.content != other.content) return false;
    return std::ranges::equal(one.entries, other.entries, [](const auto& a, const auto& b) {
        return a.first == b.first && contentsEqual(*a.second, *b.second);
    });
}

}  // namespace larkspan::platform
