#pragma once

#include <atomic>
#include <cstdint>

namespace larkspan::soak {

// What the programs under test meet. It lies in a file that the soak and the library of faults
// both map, so that faults come and go while a program runs. All zero, but for `room`, is none.
struct FaultControl {
    std::atomic<std::int64_t> clockOffset;    // seconds that the wall clock is ahead
    std::atomic<std::int32_t> storeDateStep;  // seconds to which the store's dates are cut; 0: none
    std::atomic<std::int32_t> errorNumber;    // what calls that fail fail with
    std::atomic<std::int32_t> failingPerMille;  // of the calls on the home and the projects
    std::atomic<std::int64_t> room;             // bytes left on the disk of the home; -1: no end
    std::atomic<std::uint64_t> failed;          // calls that failed because of these
};
static_assert(std::atomic<std::int64_t>::is_always_lock_free);

// The environment variable with the root of the soak, then the control file and the folders in it
// in which calls fail.
constexpr const char* faultRootVariable = "LARKSPAN_SOAK_ROOT";
constexpr const char* faultFileName = "faults";
constexpr const char* homeFolderName = "home";
constexpr const char* workFolderName = "work";

}  // namespace larkspan::soak
