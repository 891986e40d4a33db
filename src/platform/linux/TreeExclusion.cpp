#include "platform/linux/TreeExclusion.h"

#include <algorithm>
#include <utility>

#include <sys/stat.h>

namespace larkspan::platform {
namespace {

bool isSameFolder(const std::string& one, const std::string& other) {
    struct stat first {};
    struct stat second {};
    return ::stat(one.c_str(), &first) == 0 && ::stat(other.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

}  // namespace

TreeExclusion::TreeExclusion(ExcludedTrees excluded)
    : isExcludedName_(std::move(excluded.isExcludedName)) {
    for (const Path& path : excluded.paths) {
        trees_.push_back({path.lastPathComponent(), path.str()});
    }
}

bool TreeExclusion::excludes(std::string_view name, const std::string& path) const {
    return (isExcludedName_ && isExcludedName_(name)) || isExcludedTree(name, path);
}

bool TreeExclusion::isInExcludedTree(const std::string& path) const {
    for (Path at(path); at.str().size() > 1; at = at.deletingLastPathComponent()) {
        if (isExcludedTree(at.lastPathComponent(), at.str())) return true;
    }
    return false;
}

bool TreeExclusion::isExcludedTree(std::string_view name, const std::string& path) const {
    return std::ranges::any_of(trees_, [&](const Tree& tree) {
        return tree.name == name && isSameFolder(tree.path, path);
    });
}

}  // namespace larkspan::platform
