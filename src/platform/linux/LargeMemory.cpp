#include "platform/linux/LargeMemory.h"

#include <malloc.h>

namespace larkspan::platform {

void returnLargeMemory() {
#ifdef __GLIBC__
    // Else the first large block that is freed teaches the C library to keep the next ones, of up
    // to 32 MiB each, among the small ones, where they stay with the process.
    constexpr int large = 4 * 1024 * 1024;
    constexpr int keptBehindSmall = 1024 * 1024;
    (void)mallopt(M_MMAP_THRESHOLD, large);
    (void)mallopt(M_TRIM_THRESHOLD, keptBehindSmall);
#endif
}

}  // namespace larkspan::platform
