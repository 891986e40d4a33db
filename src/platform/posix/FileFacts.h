#pragma once

#include "platform/Files.h"

#include <optional>

#include <sys/stat.h>

namespace larkspan::platform {

EntryKind kindOfMode(mode_t mode);

// Dates beyond what Date can hold become the nearest it can.
Date dateFromTimespec(const timespec& time);
timespec timespecFromDate(Date date);

FileInfo infoFromStat(const struct stat& status);
FileIdentity identityOf(const struct stat& status);

// Whether nothing says that the content changed between two looks at a file or folder.
bool isUnchanged(const struct stat& before, const struct stat& after);

// fstatat; empty, with errno set, on failure. Flags as AT_SYMLINK_NOFOLLOW.
std::optional<struct stat> statusAt(int folder, const char* name, int flags);
// fstat.
std::optional<struct stat> statusOf(int descriptor);

}  // namespace larkspan::platform
