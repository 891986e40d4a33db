#pragma once

#include "foundation/Date.h"

namespace larkspan::platform {

// Takes the advisory lock of an open file or folder, which lasts until the descriptor is closed,
// and asks again every 10 milliseconds while another has it, `patience` at most. 0 or an errno
// value: EWOULDBLOCK when another has it still.
int takeLock(int descriptor, Seconds patience);

}  // namespace larkspan::platform
