#include "platform/linux/LargeMemory.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

size_t residentBytes() {
    std::ifstream file("/proc/self/statm");
    size_t size = 0;
    size_t resident = 0;
    file >> size >> resident;
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

// Fills a block that grows up to its size, as the nodes of a document do, and frees it.
void useMemory(size_t largest) {
    char* block = nullptr;
    for (size_t size = 1024; size <= largest; size += size / 2) {
        block = static_cast<char*>(std::realloc(block, size));
        ASSERT_NE(block, nullptr);
        std::memset(block, 1, size);
    }
    std::free(block);
}

TEST(LargeMemoryTest, GoesBackToTheSystemEveryTime) {
    constexpr size_t mebibyte = size_t{1} << 20;
    returnLargeMemory();
    const size_t before = residentBytes();
    for (const size_t size : {30U, 20U, 10U, 25U, 10U}) {
        std::thread(useMemory, size * mebibyte).join();
        EXPECT_LT(residentBytes(), before + 8 * mebibyte) << size;
    }
}

#endif

}  // namespace
}  // namespace larkspan::platform
