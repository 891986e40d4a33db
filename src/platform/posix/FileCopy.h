#pragma once

#include "platform/posix/FileCalls.h"
#include "platform/posix/FileDescriptor.h"

#include <string>

#include <sys/stat.h>

namespace larkspan::platform {

// What is to be copied: a path, or an entry of an open folder.
struct CopySource {
    int folder;  // AT_FDCWD when the name is a path
    std::string name;
    int flags = 0;                            // AT_SYMLINK_NOFOLLOW or 0
    const std::string* folderPath = nullptr;  // of the folder, with a slash at its end

    std::string path() const { return folderPath ? *folderPath + name : name; }
    std::string doing() const { return "copying " + path(); }
};

Error changedWhileCopied(const CopySource& source);

// Opens a file or folder that is to be copied and looks at it. Something else in its place, or
// nothing, is a change of the source. A change made after this call shows in the facts.
struct OpenSource {
    FileDescriptor descriptor;
    struct stat status;
};
Result<OpenSource> openSource(const FileCalls& calls, const CopySource& source, EntryKind kind);

// Copies content, attributes and dates of a regular file into an empty new one and returns when
// they are on disk. Gives the facts of the source that the copy is a copy of.
Result<struct stat> copyFile(const FileCalls& calls, const CopySource& source, int target);

// Gives a copy of a file or folder the source's extended attributes, as far as its file system
// takes them, then its permissions and its dates. Its owner stays whoever made it, so set-id bits
// of another owner are not kept. 0 or an errno value.
int copyAttributes(const FileCalls& calls, int source, const struct stat& status, int target);

}  // namespace larkspan::platform
