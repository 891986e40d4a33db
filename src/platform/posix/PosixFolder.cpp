#include "platform/posix/PosixFolder.h"

#include "foundation/Text.h"
#include "platform/posix/FileContents.h"
#include "platform/posix/FileFacts.h"
#include "platform/posix/SystemCall.h"

#include <algorithm>

#include <unistd.h>

namespace larkspan::platform {

void sortListing(std::vector<DirectoryEntry>& entries) {
    std::sort(entries.begin(), entries.end(),
              [](const auto& a, const auto& b) { return listingOrder(a.name, b.name); });
}

Result<std::vector<DirectoryEntry>> PosixFolder::entries(const EntryFilter& filter, Sorted sorted) {
    if (listed_) (void)::lseek(descriptor_.get(), 0, SEEK_SET);
    listed_ = true;
    std::vector<DirectoryEntry> found;
    if (const int failed = calls_.listFolder(descriptor_.get(), filter, found)) {
        return posixError(failed, "listing a folder");
    }
    if (sorted == Sorted::yes) sortListing(found);
    return found;
}

Result<std::unique_ptr<Folder>> PosixFolder::openFolder(const std::string& name) {
    FileDescriptor folder = openFolderAt(descriptor_.get(), systemName(name));
    if (!folder) return posixError(errno, "opening folder " + name);
    return std::unique_ptr<Folder>(std::make_unique<PosixFolder>(calls_, std::move(folder)));
}

Result<FileInfo> PosixFolder::info(const std::string& name) {
    const auto status = statusAt(descriptor_.get(), systemName(name), 0);
    if (!status) return posixError(errno, name);
    return infoFromStat(*status);
}

Result<FileInfo> PosixFolder::info() {
    const auto status = statusOf(descriptor_.get());
    if (!status) return posixError(errno, "an open folder");
    return infoFromStat(*status);
}

Result<std::string> PosixFolder::readFile(const std::string& name, size_t largestSize) {
    return readFileAt(descriptor_.get(), systemName(name), largestSize, "reading " + name);
}

std::optional<Error> PosixFolder::removeFile(const std::string& name) {
    if (::unlinkat(descriptor_.get(), systemName(name), 0) == 0) return {};
    return posixError(errno, "removing " + name);
}

}  // namespace larkspan::platform
