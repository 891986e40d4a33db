#pragma once

#include "platform/Files.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace larkspan::platform {

// One file, folder or link of the file system in memory.
struct FakeNode {
    EntryKind kind = EntryKind::file;
    std::string content;  // of a file; of a link, where it leads
    std::map<std::string, std::shared_ptr<FakeNode>> entries;
    std::map<std::string, std::string> attributes;  // extended ones
    Date modificationDate;
    Date attributeChangeDate;
    unsigned permissions = 0;
    bool locked = false;
    unsigned owner = 0;
    std::uint64_t inode = 0;

    // Whether its owner may do that: 4 to read, 2 to write, 1 to go through or to run.
    bool allows(unsigned rights) const { return ((permissions >> 6) & rights) == rights; }
    std::uint64_t size() const { return content.size(); }
};
using FakeNodePointer = std::shared_ptr<FakeNode>;

// The tree of nodes below "/". Members that give an int give 0 or an errno value. No thread safety
// of its own.
class FakeFileTree {
  public:
    enum class LastLink { follow, keep };
    struct Found {
        int failed = 0;
        FakeNodePointer node;    // null when nothing has that name (ENOENT)
        FakeNodePointer folder;  // that holds it, or would; null when that is missing too
        std::string name;        // in that folder, links followed
    };

    FakeFileTree();

    // Goes through the path from the root, or from a folder.
    Found find(const Path& path, LastLink lastLink = LastLink::follow) const;
    Found find(const FakeNodePointer& from, const std::string& path, LastLink lastLink) const;

    FakeNodePointer makeNode(EntryKind kind, unsigned permissions, Date date);
    FileInfo info(const FakeNode& node) const;
    // All entries in listing order.
    static std::vector<DirectoryEntry> list(const FakeNode& folder);

    // Puts a node under a name, in place of what is there, or takes it away.
    static void put(FakeNode& folder, const std::string& name, FakeNodePointer node, Date now);
    static void take(FakeNode& folder, const std::string& name, Date now);

    // A copy of a node with everything below it that can be copied.
    FakeNodePointer copy(const FakeNode& node, Date now);
    // Whether everything at and below a node may be read.
    static bool isReadable(const FakeNode& node);
    // Bytes of all files at and below a node.
    static std::uint64_t bytesBelow(const FakeNode& node);
    // As Files::contentsEqual.
    static bool contentsEqual(const FakeNode& one, const FakeNode& other);
    // Whether a node is another one or lies below it.
    static bool holds(const FakeNode& top, const FakeNode& node);
    // The path without links of a node in the tree.
    Path pathOf(const FakeNode& node) const;

    const FakeNodePointer& root() const { return root_; }

  private:
    FakeNodePointer root_;
    std::uint64_t lastInode_ = 0;
};

}  // namespace larkspan::platform
