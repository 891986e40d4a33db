#pragma once

#include "platform/posix/FileCalls.h"

namespace larkspan::platform {

// The file system calls that only Linux has.
class LinuxFileCalls : public FileCalls {
  public:
    int listFolder(int folder, const EntryFilter& filter,
                   std::vector<DirectoryEntry>& found) const override;
    int cloneFile(int source, int target) const override;
    int copyRange(int source, int target, size_t size, size_t& copied) const override;
    int renameWithoutReplacing(int sourceFolder, const char* source, int targetFolder,
                               const char* target) const override;
    bool isImmutable(const char* path) const override;
    int setImmutable(const char* path, bool immutable) const override;
    bool datesTellEveryChange(int descriptor) const override;
    std::vector<std::string> attributeNames(int descriptor) const override;
    std::optional<std::string> attribute(int descriptor, const char* name) const override;
    std::optional<std::string> attributeOfPath(const char* path, const char* name) const override;
    int setAttribute(int descriptor, const char* name, const std::string& value) const override;
};

}  // namespace larkspan::platform
