// The C library's calls, as the programs under test make them, with faults.

#include "soak/faults/Injection.h"

#include <array>
#include <cerrno>
#include <cstdarg>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

using larkspan::soak::errorNow;
using larkspan::soak::Place;
using larkspan::soak::placeOf;
using larkspan::soak::takeRoom;

namespace {

template <class Function>
Function* original(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

bool fails(Place place) {
    const auto error = errorNow(place);
    if (error) errno = *error;
    return error.has_value();
}

// A new entry takes a little room.
bool failsToAdd(Place place) {
    if (fails(place)) return true;
    constexpr size_t entry = 64;
    if (takeRoom(place, entry)) return false;
    errno = ENOSPC;
    return true;
}

int openIn(int folder, const char* name, int flags, mode_t mode) {
    static auto* const next = original<int(int, const char*, int, ...)>("openat");
    const Place place = placeOf(folder, name);
    if ((flags & O_CREAT) != 0 ? failsToAdd(place) : fails(place)) return -1;
    return next(folder, name, flags, mode);
}

ssize_t writing(int file, size_t size, auto write) {
    const Place place = placeOf(file, nullptr);
    if (fails(place)) return -1;
    const auto room = takeRoom(place, size);
    if (room) return write(*room);
    errno = ENOSPC;
    return -1;
}

// Dates that are set are cut, as are those that the file system itself gives; the latter are met
// only when they are set, which the programs do for all that counts.
const timespec* cutDates(Place place, const timespec* times, std::array<timespec, 2>& room) {
    if (place != Place::home || !times) return times;
    room = {larkspan::soak::cut(times[0]), larkspan::soak::cut(times[1])};
    return room.data();
}

}  // namespace

extern "C" {

int openat(int folder, const char* name, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openIn(folder, name, flags, mode);
}

int open(const char* name, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openIn(AT_FDCWD, name, flags, mode);
}

ssize_t read(int file, void* buffer, size_t size) {
    static auto* const next = original<decltype(::read)>("read");
    return fails(placeOf(file, nullptr)) ? -1 : next(file, buffer, size);
}

ssize_t pread(int file, void* buffer, size_t size, off_t at) {
    static auto* const next = original<decltype(::pread)>("pread");
    return fails(placeOf(file, nullptr)) ? -1 : next(file, buffer, size, at);
}

ssize_t write(int file, const void* buffer, size_t size) {
    static auto* const next = original<decltype(::write)>("write");
    return writing(file, size, [&](size_t room) { return next(file, buffer, room); });
}

ssize_t pwrite(int file, const void* buffer, size_t size, off_t at) {
    static auto* const next = original<decltype(::pwrite)>("pwrite");
    return writing(file, size, [&](size_t room) { return next(file, buffer, room, at); });
}

ssize_t copy_file_range(int source, off64_t* from, int target, off64_t* to, size_t size,
                        unsigned flags) {
    static auto* const next = original<decltype(::copy_file_range)>("copy_file_range");
    return writing(target, size,
                   [&](size_t room) { return next(source, from, target, to, room, flags); });
}

ssize_t getdents64(int folder, void* buffer, size_t size) noexcept {
    static auto* const next = original<decltype(::getdents64)>("getdents64");
    return fails(placeOf(folder, nullptr)) ? -1 : next(folder, buffer, size);
}

dirent* readdir(DIR* folder) {
    static auto* const next = original<decltype(::readdir)>("readdir");
    return fails(placeOf(::dirfd(folder), nullptr)) ? nullptr : next(folder);
}

int fstatat(int folder, const char* name, struct stat* status, int flags) noexcept {
    static auto* const next = original<decltype(::fstatat)>("fstatat");
    return fails(placeOf(folder, name)) ? -1 : next(folder, name, status, flags);
}

int stat(const char* name, struct stat* status) noexcept {
    static auto* const next = original<int(const char*, struct stat*)>("stat");
    return fails(placeOf(name)) ? -1 : next(name, status);
}

int lstat(const char* name, struct stat* status) noexcept {
    static auto* const next = original<int(const char*, struct stat*)>("lstat");
    return fails(placeOf(name)) ? -1 : next(name, status);
}

int fstat(int file, struct stat* status) noexcept {
    static auto* const next = original<int(int, struct stat*)>("fstat");
    return fails(placeOf(file, nullptr)) ? -1 : next(file, status);
}

int mkdirat(int folder, const char* name, mode_t mode) noexcept {
    static auto* const next = original<decltype(::mkdirat)>("mkdirat");
    return failsToAdd(placeOf(folder, name)) ? -1 : next(folder, name, mode);
}

int renameat(int from, const char* source, int to, const char* target) noexcept {
    static auto* const next = original<decltype(::renameat)>("renameat");
    return failsToAdd(placeOf(to, target)) ? -1 : next(from, source, to, target);
}

int renameat2(int from, const char* source, int to, const char* target, unsigned flags) noexcept {
    static auto* const next = original<decltype(::renameat2)>("renameat2");
    return failsToAdd(placeOf(to, target)) ? -1 : next(from, source, to, target, flags);
}

int unlinkat(int folder, const char* name, int flags) noexcept {
    static auto* const next = original<decltype(::unlinkat)>("unlinkat");
    return fails(placeOf(folder, name)) ? -1 : next(folder, name, flags);
}

int fsync(int file) {
    static auto* const next = original<decltype(::fsync)>("fsync");
    return fails(placeOf(file, nullptr)) ? -1 : next(file);
}

int utimensat(int folder, const char* name, const timespec* times, int flags) noexcept {
    static auto* const next = original<int(int, const char*, const timespec*, int)>("utimensat");
    const Place place = placeOf(folder, name);
    if (fails(place)) return -1;
    std::array<timespec, 2> room;
    return next(folder, name, cutDates(place, times, room), flags);
}

int futimens(int file, const timespec* times) noexcept {
    static auto* const next = original<int(int, const timespec*)>("futimens");
    const Place place = placeOf(file, nullptr);
    if (fails(place)) return -1;
    std::array<timespec, 2> room;
    return next(file, cutDates(place, times, room));
}

int ioctl(int file, unsigned long request, ...) noexcept {
    static auto* const next = original<int(int, unsigned long, ...)>("ioctl");
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    // A clone takes no room; what is to fail is copied.
    constexpr unsigned long clone = 0x40049409;
    if (request == clone && placeOf(file, nullptr) != Place::elsewhere) {
        errno = EOPNOTSUPP;
        return -1;
    }
    return next(file, request, argument);
}

int clock_gettime(clockid_t clock, timespec* time) noexcept {
    static auto* const next = original<decltype(::clock_gettime)>("clock_gettime");
    const int status = next(clock, time);
    if (status == 0 && clock == CLOCK_REALTIME) time->tv_sec += larkspan::soak::clockOffset();
    return status;
}

}  // extern "C"
