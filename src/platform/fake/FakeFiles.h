#pragma once

#include "foundation/Guarded.h"
#include "platform/Clock.h"
#include "platform/fake/FakeFileTree.h"
#include "platform/fake/FakeFolderLocks.h"

#include <span>

namespace larkspan::platform {

// A file system in memory. The user of the process owns everything, is not root, and is held to
// the owner's permissions. Dates come from the clock. Every operation is one step: nothing is ever
// seen half done, and there are no temporary items but those a test puts there.
class FakeFiles final : public Files {
  public:
    // The clock must outlive this.
    explicit FakeFiles(const Clock& clock);

    // For tests; folders above are made where they are missing, what is there is replaced, and no
    // permission stands in the way.
    void addFile(const Path& path, std::string content, Date date);
    void addFile(const Path& path, std::string content) {
        addFile(path, std::move(content), clock_.now());
    }
    void addFolder(const Path& path);
    void addLink(const Path& path, std::string target);
    // A thing that is neither file, folder nor link.
    void addPipe(const Path& path);
    void setAttribute(const Path& path, const std::string& name, std::string value);
    // A piece of a file, for streams. Rights are not looked at.
    Result<size_t> readPiece(const Path& path, std::uint64_t position, std::span<char> buffer);
    std::optional<Error> writePiece(const Path& path, std::uint64_t position,
                                    std::string_view bytes);
    // Bytes that all files together may have; one more gives ENOSPC.
    void setCapacity(std::uint64_t bytes);

    Result<FileInfo> info(const Path& path) override;
    Result<FileInfo> linkInfo(const Path& path) override;
    Result<Path> realPath(const Path& path) override;
    Result<std::vector<DirectoryEntry>> contentsOfFolder(const Path& folder) override;
    Result<std::unique_ptr<Folder>> openFolder(const Path& folder) override;
    Result<std::string> readFile(const Path& path, size_t largestSize) override;
    std::optional<Error> writeFileAtomically(const Path& path, std::string_view bytes) override;
    Result<std::unique_ptr<FileWriter>> openForAppending(const Path& path) override;
    std::optional<Error> createFolder(const Path& path) override;
    Result<std::unique_ptr<FolderLock>> lockFolder(const Path& folder, Seconds patience) override;
    std::optional<Error> copyItem(const Path& source, const Path& target) override;
    int removeAbandonedCopies(const Path& folder) override;
    std::optional<Error> moveItem(const Path& source, const Path& target) override;
    std::optional<Error> removeItem(const Path& path) override;
    std::optional<Error> removeEmptyFolder(const Path& path) override;
    std::optional<Error> setPermissions(const Path& path, unsigned permissions) override;
    std::optional<Error> setModificationDate(const Path& path, Date date) override;
    bool isLocked(const Path& path) override;
    std::optional<Error> setLocked(const Path& path, bool locked) override;
    bool isWritable(const Path& path) override;
    bool isExecutable(const Path& path) override;
    bool isDeletable(const Path& path) override;
    std::string typeCode(const Path& path) override;
    std::optional<Error> setTypeAndCreator(const Path& path, const std::string& type,
                                           const std::string& creator) override;
    bool contentsEqual(const Path& one, const Path& other) override;
    std::optional<DiskSpace> diskSpace(const Path& path) override;

  private:
    class OpenFolder;
    class Writer;
    struct State {
        FakeFileTree tree;
        std::optional<std::uint64_t> capacity;

        std::uint64_t free() const;
    };

    // Runs a body that gives 0 or an errno value.
    template <class Body>
    std::optional<Error> change(const std::string& doing, Body body);
    void add(const Path& path, EntryKind kind, unsigned permissions, std::string content,
             Date date);
    bool allows(const Path& path, unsigned rights);
    int createOneFolder(State& state, const Path& path);
    int copyNode(State& state, const Path& source, const Path& target);
    int moveNode(State& state, const Path& source, const Path& target);
    // Takes an entry out of its folder.
    int takeAway(const FakeFileTree::Found& found);

    const Clock& clock_;
    Guarded<State> state_;
    FakeFolderLocks locks_;
};

}  // namespace larkspan::platform
