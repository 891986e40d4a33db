#pragma once

#include "platform/posix/FileCalls.h"

namespace larkspan::platform {

// The file system as POSIX has it; what a system does in a way of its own is plugged in.
//
// Makes the process ignore SIGXFSZ for good, so that a limit on the size of files gives an error
// instead of ending the process.
class PosixFiles : public Files {
  public:
    // The calls must outlive this.
    explicit PosixFiles(const FileCalls& calls);

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
    const FileCalls& calls_;
};

}  // namespace larkspan::platform
