#pragma once

#include "platform/Files.h"

#include <array>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace larkspan::platform {

// What every system does in a way of its own, below PosixFiles. The bodies here use POSIX alone
// and refuse what it does not have; a system overrides what it does better. Stateless; any thread.
// Members that give an int give 0 or an errno value.
class FileCalls {
  public:
    virtual ~FileCalls() = default;

    // Appends the wanted entries of an open folder, in the system's order, from its read position
    // on. Kinds are told without looking at the entries wherever the file system gives them.
    virtual int listFolder(int folder, const EntryFilter& filter,
                           std::vector<DirectoryEntry>& found) const;

    // Makes an empty file share the content of another.
    virtual int cloneFile(int source, int target) const;

    // Copies at most `size` bytes from the one read position to the other without passing them
    // through the process; `copied` says how many, 0 also where there are more to be read.
    virtual int copyRange(int source, int target, size_t size, size_t& copied) const;

    // EINVAL, ENOSYS or EOPNOTSUPP where the file system cannot.
    virtual int renameWithoutReplacing(int sourceFolder, const char* source, int targetFolder,
                                       const char* target) const;

    // Returns when the content and the facts of an open file or folder are on disk.
    virtual int sync(int descriptor) const;

    // Sets the dates of access and modification of an entry, or of the open item itself when `name`
    // is null, as far as the file system keeps them.
    virtual int setDates(int folder, const char* name, const std::array<timespec, 2>& times) const;

    // Whether an attribute of the entry itself, links not followed, forbids to remove it or, for
    // a folder, to remove what is in it.
    virtual bool isImmutable(const char* path) const;

    // Sets or clears that attribute. EOPNOTSUPP where there is none.
    virtual int setImmutable(const char* path, bool immutable) const;

    // Whether a file system gives a new modification date to every change that follows a look at
    // the date before, however short the time between.
    virtual bool datesTellEveryChange(int descriptor) const;

    // Extended attributes, permission lists among them.
    virtual std::vector<std::string> attributeNames(int descriptor) const;
    virtual std::optional<std::string> attribute(int descriptor, const char* name) const;
    virtual std::optional<std::string> attributeOfPath(const char* path, const char* name) const;
    virtual int setAttribute(int descriptor, const char* name, const std::string& value) const;
};

// Appends an entry of an open folder if it is wanted. `type` is a d_type.
void addListedEntry(int folder, const char* name, unsigned char type, const EntryFilter& filter,
                    std::vector<DirectoryEntry>& found);

// Moves an entry without replacing, whatever the file system can: where it has no such rename, a
// file is linked and its old name removed; a folder, or a file where there are no links, is
// renamed if nothing is there.
int moveWithoutReplacing(const FileCalls& calls, int sourceFolder, const char* source,
                         int targetFolder, const char* target);

}  // namespace larkspan::platform
