#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan::platform {

// The names of the watched folders, one after the other in blocks: one byte more than the name, or
// three where it has 255 bytes or more. Some file systems count characters and allow 765 bytes.
class FolderNames {
  public:
    std::uint32_t add(std::string_view name);
    std::string_view at(std::uint32_t place) const;
    // The name is not needed any more; its bytes come back when the names are packed anew.
    void drop(std::uint32_t place);
    bool isWasteful() const { return dropped_ > blockSize && dropped_ > used_ / 2; }

  private:
    static constexpr std::uint32_t blockSize = 32 * 1024;
    static constexpr size_t longMark = 255;  // in the place of a length that follows in two bytes
    static constexpr size_t longPrefix = 3;
    std::vector<std::unique_ptr<char[]>> blocks_;
    std::uint32_t free_ = 0;  // bytes left in the last block
    std::uint64_t used_ = 0;
    std::uint64_t dropped_ = 0;
};

// The watched folders as a table indexed by watch descriptor: about 20 bytes a folder and its name.
//
// Each folder has a parent: another watched folder, or a root (then its name is ""). Watch
// descriptors are 1 and more and given out in order, so the table is kept in pages, and a page
// whose folders are all gone goes too.
class WatchTree {
  public:
    // The paths by which the roots are known, each ending in "/".
    explicit WatchTree(std::vector<std::string> rootPaths) : rootPaths_(std::move(rootPaths)) {}

    // The parent of the folder that is root number `root`.
    static constexpr int rootParent(size_t root) { return -1 - static_cast<int>(root); }

    bool contains(int folder) const { return find(folder) != nullptr; }
    size_t size() const { return size_; }

    // The folder must not be in the table, the parent must (or be a root).
    void insert(int folder, int parent, std::string_view name);
    // Puts a folder with all below it elsewhere; not below itself.
    void move(int folder, int parent, std::string_view name);
    // Takes out a folder that has none below it.
    void erase(int folder);

    int parent(int folder) const { return find(folder)->parent; }
    std::string_view name(int folder) const { return names_.at(find(folder)->name); }
    bool isRoot(int folder) const { return parent(folder) < 0; }
    bool isAt(int folder, int parent, std::string_view name) const;
    // Whether `folder` (a folder or the parent of a root) is `other` or lies below it.
    bool isWithin(int folder, int other) const;
    // The root above the folder, or of such a parent.
    size_t rootOf(int folder) const;
    // The folder of that name in another; 0 when there is none.
    int child(int folder, std::string_view name) const;
    // The folder and all below it, each before those below it.
    std::vector<int> subtree(int folder) const;

    // The path under which the folder is known, ending in "/".
    std::string path(int folder) const;
    size_t rootCount() const { return rootPaths_.size(); }
    // Adds the root of that number, or gives one without a folder another path.
    void setRootPath(size_t root, std::string path);
    const std::string& rootPath(size_t root) const { return rootPaths_[root]; }

    // A mark: not all below the folder could be looked at.
    bool isIncomplete(int folder) const { return find(folder)->incomplete != 0; }
    void setIncomplete(int folder, bool incomplete) { node(folder).incomplete = incomplete; }

  private:
    struct Node {
        int parent = 0;  // 0: the place is free
        int firstChild = 0;
        int next = 0;  // the folders of one parent are linked both ways
        int previous = 0;
        std::uint32_t name : 31 = 0;
        std::uint32_t incomplete : 1 = 0;
    };
    static constexpr size_t pageSize = 256;
    struct Page {
        std::array<Node, pageSize> nodes;
        size_t used = 0;
    };

    const Node* find(int folder) const;
    Node& node(int folder);
    void link(int folder, int parent);
    void unlink(int folder);
    void packNames();

    std::vector<std::string> rootPaths_;
    std::vector<std::unique_ptr<Page>> pages_;
    FolderNames names_;
    size_t size_ = 0;
};

}  // namespace larkspan::platform
