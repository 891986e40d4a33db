#pragma once

namespace larkspan::platform {

// Makes large blocks of memory, such as documents, go back to the system as soon as they are freed.
// For the whole process; to be called before its other threads start.
void returnLargeMemory();

}  // namespace larkspan::platform
