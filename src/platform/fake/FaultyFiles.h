#pragma once

#include "foundation/Guarded.h"
#include "platform/Files.h"

#include <map>

namespace larkspan::platform {

enum class FileOperation {
    info,  // also linkInfo, realPath, exists, isFolder and the facts that a folder gives
    contentsOfFolder,
    folderEntries,
    openFolder,
    readFile,
    writeFileAtomically,
    openForAppending,
    append,  // FileWriter::write
    createFolder,
    lockFolder,
    copyItem,
    removeAbandonedCopies,
    moveItem,
    removeItem,
    removeFile,  // Folder::removeFile
    setPermissions,
    setModificationDate,
    setLocked,
    access,  // isWritable, isExecutable, isDeletable
    typeCode,
    contentsEqual,
    diskSpace,
};

// Hands everything on to other files, but refuses what it was told to. A refused operation does
// nothing and fails with the given errno value, or gives what it gives for a missing thing where
// it has no error. Also counts calls, and runs hooks before them. Any thread.
class FaultyFiles final : public Files {
  public:
    using Hook = std::function<void(const Path& path)>;

    // The other files must outlive this.
    explicit FaultyFiles(Files& files) : files_(files) {}

    // Refuses the n-th call from now (1: the next), once.
    void refuseCall(FileOperation operation, int n, int errorNumber);
    // Refuses every call on a path that is this one or lies below it; an operation with two paths
    // is on both. An errno value of 0 allows them again.
    void refusePath(const Path& path, int errorNumber);
    // Runs a hook before every call that is not refused, with the first path of the call. The hook
    // may use files.
    void beforeCall(FileOperation operation, Hook hook);
    int callCount(FileOperation operation) const;

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
    class FaultyFolder;
    class FaultyWriter;
    struct Plan {
        std::map<int, int> refusals;  // number of the call, errno value
        Hook hook;
        int calls = 0;
    };
    struct State {
        std::map<FileOperation, Plan> plans;
        std::map<Path, int> paths;
    };

    // Notes a call and runs its hook. The errno value to refuse it with, or 0.
    int refusal(FileOperation operation, const Path& path, const Path& second = {});
    // The error for a refused call; empty when it is to be made.
    std::optional<Error> refused(FileOperation operation, const Path& path,
                                 const Path& second = {});

    Files& files_;
    Guarded<State> state_;
};

}  // namespace larkspan::platform
