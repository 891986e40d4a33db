#include "soak/faults/Injection.h"

#include "soak/faults/FaultControl.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <random>
#include <string_view>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace larkspan::soak {
namespace {

struct KeptErrno {
    int number = errno;
    ~KeptErrno() { errno = number; }
};

struct Roots {
    std::string home;
    std::string work;
    FaultControl* control = nullptr;
};

// The calls are made directly, for those of the C library are the ones that fail.
Roots mappedRoots() {
    Roots roots;
    const char* root = ::getenv(faultRootVariable);
    if (!root) return roots;
    roots.home = std::string(root) + '/' + homeFolderName + '/';
    roots.work = std::string(root) + '/' + workFolderName + '/';
    const std::string file = std::string(root) + "/" + faultFileName;
    const long descriptor = ::syscall(SYS_openat, AT_FDCWD, file.c_str(), O_RDWR | O_CLOEXEC, 0);
    if (descriptor < 0) return roots;
    void* const memory = ::mmap(nullptr, sizeof(FaultControl), PROT_READ | PROT_WRITE, MAP_SHARED,
                                static_cast<int>(descriptor), 0);
    ::syscall(SYS_close, descriptor);
    if (memory != MAP_FAILED) roots.control = static_cast<FaultControl*>(memory);
    return roots;
}

const Roots& roots() {
    static const Roots roots = mappedRoots();
    return roots;
}

bool isQuiet() {
    const FaultControl* control = roots().control;
    return !control ||
           (control->failingPerMille == 0 && control->room < 0 && control->storeDateStep == 0);
}

Place placeOfText(std::string_view path) {
    if (path.starts_with(roots().home)) return Place::home;
    return path.starts_with(roots().work) ? Place::work : Place::elsewhere;
}

std::string pathOf(int descriptor) {
    std::array<char, PATH_MAX> target;
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const long size =
        ::syscall(SYS_readlinkat, AT_FDCWD, link.c_str(), target.data(), target.size());
    return size < 0 ? std::string() : std::string(target.data(), static_cast<size_t>(size)) + "/";
}

}  // namespace

Place placeOf(const char* path) {
    const KeptErrno kept;
    return isQuiet() || !path ? Place::elsewhere : placeOfText(path);
}

Place placeOf(int folder, const char* name) {
    const KeptErrno kept;
    if (isQuiet()) return Place::elsewhere;
    if (name && name[0] == '/') return placeOfText(name);
    return folder < 0 ? Place::elsewhere : placeOfText(pathOf(folder));
}

std::optional<int> errorNow(Place place) {
    if (place == Place::elsewhere) return {};
    const KeptErrno kept;
    FaultControl& control = *roots().control;
    constexpr int all = 1000;
    thread_local std::minstd_rand random(static_cast<unsigned>(::syscall(SYS_gettid)));
    const int perMille = control.failingPerMille;
    if (perMille == 0 || static_cast<int>(random() % all) >= perMille) return {};
    ++control.failed;
    return control.errorNumber;
}

std::optional<size_t> takeRoom(Place place, size_t size) {
    if (place != Place::home) return size;
    const KeptErrno kept;
    FaultControl& control = *roots().control;
    std::int64_t room = control.room;
    while (room >= 0) {
        const auto taken = std::min<std::int64_t>(room, static_cast<std::int64_t>(size));
        if (taken == 0 && size > 0) {
            ++control.failed;
            return {};
        }
        if (control.room.compare_exchange_weak(room, room - taken)) {
            return static_cast<size_t>(taken);
        }
    }
    return size;
}

bool cutsDates() {
    return roots().control && roots().control->storeDateStep != 0;
}

timespec cut(const timespec& time) {
    const std::int32_t step = cutsDates() ? roots().control->storeDateStep.load() : 0;
    if (step == 0 || time.tv_nsec == UTIME_NOW || time.tv_nsec == UTIME_OMIT) return time;
    return {.tv_sec = time.tv_sec - time.tv_sec % step, .tv_nsec = 0};
}

long clockOffset() {
    return roots().control ? static_cast<long>(roots().control->clockOffset) : 0;
}

}  // namespace larkspan::soak
