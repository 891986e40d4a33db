#pragma once

#include "platform/posix/FileCalls.h"
#include "platform/posix/FileDescriptor.h"

namespace larkspan::platform {

class PosixFolder final : public Folder {
  public:
    // The calls must outlive this.
    PosixFolder(const FileCalls& calls, FileDescriptor descriptor)
        : calls_(calls), descriptor_(std::move(descriptor)) {}

    Result<std::vector<DirectoryEntry>> entries(const EntryFilter& filter, Sorted sorted) override;
    Result<std::unique_ptr<Folder>> openFolder(const std::string& name) override;
    Result<FileInfo> info(const std::string& name) override;
    Result<FileInfo> info() override;
    Result<std::string> readFile(const std::string& name, size_t largestSize) override;
    std::optional<Error> removeFile(const std::string& name) override;

  private:
    const FileCalls& calls_;
    FileDescriptor descriptor_;
    bool listed_ = false;  // the read position is no longer at the start
};

// Sorts into listing order.
void sortListing(std::vector<DirectoryEntry>& entries);

}  // namespace larkspan::platform
