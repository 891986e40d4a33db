#pragma once

#include "platform/posix/FileCalls.h"

#include <array>
#include <chrono>

namespace larkspan::platform {

// Sets the dates of access and modification of an entry, or of the open item itself when there is
// no name. Where the file system cuts dates off, the modification date is rounded up to the step
// that it keeps, so that it is never earlier than asked for (docs/behaviour.md, own 1). 0 or an
// errno value.
int setDatesRoundedUp(const FileCalls& calls, int folder, const char* name,
                      const std::array<timespec, 2>& times);

// The next moment, or the same, that is a whole number of steps after 1970. A step is 2 seconds at
// most.
timespec roundedUp(const timespec& time, std::chrono::nanoseconds step);

}  // namespace larkspan::platform
