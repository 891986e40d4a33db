#pragma once

#include "platform/posix/FileCalls.h"

namespace larkspan::platform {

// Content of a regular file, named relative to an open folder, as Files::readFile. `doing` begins
// the text of errors.
Result<std::string> readFileAt(int folder, const char* name, size_t largestSize,
                               const std::string& doing);

// As Files::openForAppending.
Result<std::unique_ptr<FileWriter>> openFileForAppending(const Path& path);

// As Files::writeFileAtomically. Of a link, what it leads to is replaced.
std::optional<Error> replaceFile(const FileCalls& calls, const Path& path, std::string_view bytes);

// write until all is written. 0 or an errno value.
int writeAll(int descriptor, std::string_view bytes);

}  // namespace larkspan::platform
