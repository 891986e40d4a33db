#pragma once

#include "app/ChangedFolder.h"
#include "foundation/Path.h"
#include "foundation/Value.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace larkspan {

// Folders that changed, each once, in the order of their first change.
class ChangedFolders {
  public:
    void add(const ChangedFolder& folder);

    bool empty() const { return folders_.empty(); }
    const std::vector<ChangedFolder>& folders() const { return folders_; }
    // The folders for a line of the log: the first eight, and how many more there are.
    std::string description() const;

  private:
    std::vector<ChangedFolder> folders_;
    std::unordered_map<Path, size_t> places_;
};

// Tells which projects folders that changed may hold: those below one of them, and a bundle in
// which one of them lies. Built once for many projects. The folders must outlive it.
class AffectedProjects {
  public:
    explicit AffectedProjects(const std::vector<ChangedFolder>& folders);

    bool contains(const Path& project) const;

  private:
    std::unordered_set<std::string_view> folders_;
    std::unordered_set<std::string_view> bundles_;  // and other folders with an extension
};

// The first eight values, and how many more there are, for a line of the log.
Value firstFew(const Value::Array& all);

}  // namespace larkspan
