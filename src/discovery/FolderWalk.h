#pragma once

#include "discovery/ScannedFolder.h"
#include "discovery/TypeList.h"
#include "foundation/Guarded.h"
#include "foundation/OperationQueue.h"
#include "foundation/Path.h"
#include "platform/Files.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

namespace larkspan {

// Paths of the projects that the store knows.
using KnownProjects = std::unordered_set<Path>;

// Goes through folder trees for what has the name, and the content, of a project. Every folder is
// looked through once, by device and inode, however many trees lead to it.
class FolderWalk {
  public:
    // In no particular order.
    struct Found {
        std::vector<Path> projects;
        std::vector<Path> linkedProjects;
        std::vector<Path> linkedFolders;  // they are not followed
    };
    // Whether there is time for one more folder. Called on any thread.
    using MayGoOn = std::function<bool()>;

    // The queue's threads take part. It, and the known projects, must outlive this.
    FolderWalk(TypeList types, const KnownProjects& known, OperationQueue& queue, MayGoOn mayGoOn)
        : types_(std::move(types)), known_(known), queue_(queue), mayGoOn_(std::move(mayGoOn)) {}

    // A missing or unreadable folder holds nothing. Returns when all of the tree is done.
    Found walk(const Path& folder, WithSubfolders withSubfolders);

  private:
    // An open folder on the way down, with what is still to be looked into there.
    struct Level {
        Path path;
        std::unique_ptr<platform::Folder> folder;
        std::vector<std::string> subfolders;
    };
    // What one thread is at.
    struct Descent {
        std::vector<Level> levels;
        Found found;
    };
    enum class What { project, folder, linkToFolder, neither };

    struct HashOfIdentity {
        size_t operator()(const platform::FileIdentity& identity) const {
            return static_cast<size_t>(identity.inode * 0x9E3779B97F4A7C15ULL ^ identity.device);
        }
    };

    void lookInto(Path path, std::unique_ptr<platform::Folder> folder, Descent& descent);
    void goDown(Descent& descent);
    void shareOut(std::vector<Level>& levels);
    void giveAway(Level& level, size_t count);
    void walkSubfolders(const Path& folder, std::vector<std::string> subfolders);
    void add(Found found);

    bool isWanted(std::string_view name, platform::EntryKind kind) const;
    What classify(platform::Folder& folder, const platform::DirectoryEntry& entry) const;
    void addIfNew(const Path& folder, const std::string& folderName,
                  const platform::DirectoryEntry& entry, Found& found) const;

    const TypeList types_;
    const KnownProjects& known_;
    OperationQueue& queue_;
    const MayGoOn mayGoOn_;
    std::atomic<int> givenAway_ = 0;  // pieces of work that others have or could take
    Guarded<std::unordered_set<platform::FileIdentity, HashOfIdentity>> seen_;
    Guarded<Found> found_;
};

}  // namespace larkspan
