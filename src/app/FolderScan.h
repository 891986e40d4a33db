#pragma once

#include "foundation/Guarded.h"
#include "foundation/Path.h"
#include "platform/Files.h"

#include <functional>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

namespace larkspan {

// The lower-cased extensions of one watch folder, with the rules that some of them bring.
class TypeList {
  public:
    explicit TypeList(std::vector<std::string> types);

    bool contains(std::string_view type) const;
    // Whether a name's extension is in the list. Costs no allocation: it is asked for every file
    // below a watch folder.
    bool matchesExtensionOf(std::string_view name) const;
    // Whether a name in the folder is an automatic copy or another thing that the editing
    // application keeps for itself.
    bool excludes(const std::string& folderName, const std::string& name) const;

  private:
    std::vector<std::string> types_;
    bool finalCutBundles_;  // "fcpproject" or "fcpevent" is in the list
    bool premiere_;         // "prproj" is in the list
};

// Whether a folder of that name is never looked into.
bool isIgnoredFolder(std::string_view name);

// Looks through one folder tree for project files that are not known yet.
class FolderScan {
  public:
    // Called for each new project, in the order in which the tree is walked.
    using Register = std::function<void(const Path& project)>;
    // Called after a folder in which projects were found, its subfolders included or not.
    using FolderDone = std::function<void(const Path& folder)>;

    FolderScan(const TypeList& types, const std::unordered_set<Path>& known, Register registered,
               FolderDone done)
        : types_(types), known_(known), register_(std::move(registered)), done_(std::move(done)) {}

    // A missing or unreadable folder has no projects. Links to folders are followed, each folder
    // at most once, so that links that lead in circles come to an end.
    void scan(const Path& folder);

  private:
    // A folder that is being walked, and the one above it.
    struct Level {
        Path path;
        std::string name;
        platform::Folder& folder;
    };
    enum class What { project, folder, neither };

    void scanLevel(const Level& level);
    bool isWanted(std::string_view name, platform::EntryKind kind) const;
    What classify(const Level& level, const platform::DirectoryEntry& entry);
    What classifyFolder(const std::string& name) const;
    bool isNewProject(const Level& level, const std::string& name, const Path& path) const;

    const TypeList& types_;
    const std::unordered_set<Path>& known_;
    const Register register_;
    const FolderDone done_;
    std::set<platform::FileIdentity> followedLinks_;
};

}  // namespace larkspan
